#include "Search.h"

#include <algorithm>
#include <cstring>

#include <fmt/format.h>

#include "Messages.h"
#include "StandardOutput.h"

using Tavik::ObjectPath;

namespace {

std::size_t limitOf(const Options& options) {
    const bool needsOne = options.output == Output::filesWith || options.output == Output::filesWithout ||
                          options.output == Output::nothing;
    return std::min<std::size_t>(options.maxCount, needsOne ? 1 : unlimited);
}

}  // namespace

Search::Search(Options& options)
    : options_(options), limit_(limitOf(options)), printer_(options), summary_(options.summaryFields) {}

const ObjectPath* Search::parse(std::string_view line, const Lines& lines) {
    const std::string_view text = withoutCarriageReturn(line);
    if (options_.syntax == Syntax::fileName) {
        return &parsed_.emplace<ObjectPath>(ObjectPath().appendNames(text));
    }
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

void Search::use(std::string_view line, const ObjectPath& path, const Lines& lines) {
    switch (options_.output) {
        case Output::lines:
        case Output::format:
        case Output::json:
            printer_.printLine(line, path, lines);
            break;
        case Output::summary:
            summary_.add(path);
            break;
        case Output::counts:
        case Output::filesWith:
        case Output::filesWithout:
        case Output::nothing:
            break;
    }
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
            use(*line, *path, lines);
        }
    }
    read_ += lines.number();
    selected_ += count;
    if (lines.error() != 0) {
        if (options_.reportsFileErrors) {
            say(fmt::format("{}: {}", shown(lines.name()), std::strerror(lines.error())));
        }
        hasFailed_ = true;
    }
    printer_.printFile(lines, count);
}

bool Search::isDecided() const noexcept {
    return options_.output == Output::nothing && selected_ > 0;
}

int Search::finish() {
    if (options_.output == Output::summary) {
        summary_.print(options_.summarySize.value_or(unlimited));
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
