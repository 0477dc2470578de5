#include "TextList.h"

#include <fstream>

#include <fmt/format.h>

#include "Registration.h"

namespace Benchmarks {

/// Each line of the list is mode, size, user and path, separated by tabs.
TextList textsOfFiles(const std::string& fileList, bool withAttributes) {
    TextList texts;
    std::ifstream lines(fileList);
    std::string mode, size, user, path;
    while (std::getline(lines, mode, '\t') && std::getline(lines, size, '\t') && std::getline(lines, user, '\t') &&
           std::getline(lines, path)) {
        std::string& text = texts.emplace_back();
        for (const char character : path) {
            text.append(character == '[' || character == '\\' ? 1 : 0, '\\').push_back(character);
        }
        if (withAttributes) {
            text += fmt::format("[mode={}][size={}][user={}]", mode, size, user);
        }
    }
    require(!texts.empty(), "no files in the list", fileList);
    return texts;
}

}  // namespace Benchmarks
