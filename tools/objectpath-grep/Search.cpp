#include "Search.h"

#include <algorithm>
#include <cstring>

#include <fmt/format.h>

#include "Messages.h"
#include "StandardOutput.h"

using Tavik::ObjectPath;

namespace {

std::size_t limitOf(const Options& options) {
    const bool needsOne = options.output == Output::fileNames || options.output == Output::nothing;
    return std::min<std::size_t>(options.maxCount, needsOne ? 1 : unlimited);
}

}  // namespace

Search::Search(const Options& options)
    : options_(options),
      showsFileNames_(options.showsFileNames.value_or(options.files.size() > 1)),
      limit_(limitOf(options)),
      summary_(options.summaryKey != nullptr ? options.summaryKey : "") {}

const ObjectPath* Search::parse(std::string_view line, const Lines& lines) {
    const std::string_view text = withoutCarriageReturn(line);
    std::size_t errorOffset = 0;
    parsed_ = Tavik::tryParseObjectPath(text, errorOffset);
    const auto* path = std::get_if<ObjectPath>(&parsed_);
    if (path == nullptr) {
        ++malformed_;
        reportMalformed(fmt::format("{}:{}: ", shown(lines.name()), lines.number()), text,
                        std::get<Tavik::String>(parsed_), errorOffset);
    }
    return path;
}

void Search::searchFile(const char* name) {
    Lines lines(name);
    std::size_t count = 0;
    while (count < limit_) {
        const auto line = lines.next();
        if (!line) {
            break;
        }
        const ObjectPath* path = parse(*line, lines);
        if (path == nullptr) {
            continue;
        }
        if (options_.countsNodes) {
            kept_.push_back(*path);
        }
        if (options_.patterns.matchesAny(*path) != options_.isInverted) {
            ++count;
            if (options_.output == Output::lines) {
                printLine(*line, lines);
            } else if (options_.output == Output::summary) {
                summary_.add(*path);
            }
        }
    }
    read_ += lines.number();
    selected_ += count;
    if (lines.error() != 0) {
        say(fmt::format("{}: {}", shown(lines.name()), std::strerror(lines.error())));
        hasFailed_ = true;
    }
    if (lines.error() == 0 || lines.number() > 0) {
        printFile(lines, count);
    }
}

void Search::printLine(std::string_view line, const Lines& lines) const {
    if (showsFileNames_) {
        write(lines.name());
        write(":");
    }
    if (options_.showsLineNumbers) {
        write(fmt::format_int(lines.number()).str());
        write(":");
    }
    write(line);
    write("\n");
}

void Search::printFile(const Lines& lines, std::size_t count) const {
    if (options_.output == Output::fileNames && count > 0) {
        write(lines.name() + '\n');
    } else if (options_.output == Output::counts) {
        write(fmt::format("{}{}{}\n", showsFileNames_ ? lines.name() : "", showsFileNames_ ? ":" : "", count));
    }
}

bool Search::isDecided() const noexcept {
    return options_.output == Output::nothing && selected_ > 0;
}

int Search::finish() {
    if (options_.output == Output::summary) {
        summary_.print(options_.summarySize);
    }
    flushOutput();
    if (isDecided()) {
        return foundStatus;
    }
    if (hasFailed_ || (malformed_ > 0 && selected_ == 0)) {
        return errorStatus;
    }
    return selected_ > 0 ? foundStatus : nothingFoundStatus;
}
