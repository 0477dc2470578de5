#include "Printer.h"

#include <fmt/format.h>

#include "Json.h"
#include "StandardOutput.h"

using Tavik::ObjectPath;

Printer::Printer(Options& options)
    : options_(options),
      showsFileNames_(options.showsFileNames.value_or(options.files.size() > 1)),
      usesColors_(usesColors(options.coloring)) {}

void Printer::printLine(std::string_view line, const ObjectPath& path, const Lines& lines) {
    if (options_.output == Output::json) {
        write(toJson(lines.name(), lines.number(), path));
    } else {
        printPlace(lines);
        if (options_.output == Output::format) {
            write(options_.format->of(path));
        } else if (usesColors_ && !options_.isInverted) {
            printHighlighted(line, path);
        } else {
            write(line);
        }
    }
    endLine();
}

void Printer::printFile(const Lines& lines, std::size_t count) const {
    const bool isAskedFor = (options_.output == Output::filesWith && count > 0) ||
                            (options_.output == Output::filesWithout && count == 0 && lines.error() == 0);
    if (isAskedFor) {
        printColored(fileColor, lines.name());
        endLine();
    } else if (options_.output == Output::counts && (lines.error() == 0 || lines.number() > 0)) {
        if (showsFileNames_) {
            printColored(fileColor, lines.name());
            printColored(separatorColor, ":");
        }
        write(fmt::format("{}\n", count));
    }
}

void Printer::printPlace(const Lines& lines) const {
    if (showsFileNames_) {
        printColored(fileColor, lines.name());
        printColored(separatorColor, ":");
    }
    if (options_.showsLineNumbers) {
        printColored(numberColor, fmt::format_int(lines.number()).str());
        printColored(separatorColor, ":");
    }
}

void Printer::printHighlighted(std::string_view line, const ObjectPath& path) const {
    const std::string_view text = withoutCarriageReturn(line);
    const std::size_t size = options_.config.wholePath
                                 ? text.size()
                                 : sizeOfSegments(text, countMatchedSegments(options_.patterns, path), options_.syntax);
    if (size > 0) {
        printColored(matchColor, line.substr(0, size));
    }
    write(line.substr(size));
}

void Printer::printColored(std::string_view color, std::string_view text) const {
    if (usesColors_) {
        write(color);
        write(text);
        write(endOfColor);
    } else {
        write(text);
    }
}
