// Builds one path for each Debian package, from lines of five fields separated by tabs: section, package,
// architecture, version and status. Prints the paths in canonical form. dpkg-query writes such lines with the format
// '${Section}\t${Package}\t${Architecture}\t${Version}\t${db:Status-Status}\n'.
//
// Fields may hold any characters except tabs and newlines, such as the "/" of the section contrib/libs: the library
// escapes what needs to be escaped.

#include <array>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>

#include <Tavik/ObjectPath/ObjectPath.h>

using Tavik::ObjectPath;

namespace {

using Fields = std::array<std::string_view, 5>;

/// Empty unless there are exactly five fields.
std::optional<Fields> splitLine(std::string_view line) {
    Fields fields;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        const std::size_t tab = line.find('\t');
        const bool isLast = i + 1 == fields.size();
        if ((tab == std::string_view::npos) != isLast) {
            return std::nullopt;
        }
        fields[i] = line.substr(0, tab);
        line.remove_prefix(isLast ? line.size() : tab + 1);
    }
    return fields;
}

/// Begins with the fields that many packages have in common, so that their paths share nodes.
ObjectPath packagePath(const Fields& fields) {
    const auto [section, package, architecture, version, status] = fields;
    return ObjectPath()
        .append("package", {{"architecture", architecture}, {"status", status}})
        .append(section.empty() ? "unknown" : section)
        .append(package, {{"version", version}});
}

}  // namespace

int main() {
    std::ios::sync_with_stdio(false);
    bool complete = true;
    std::size_t number = 0;
    for (std::string line; std::getline(std::cin, line);) {
        ++number;
        if (const auto fields = splitLine(line)) {
            std::cout << packagePath(*fields) << '\n';
        } else {
            std::cerr << "line " << number << ": expected five fields: \"" << line << "\"\n";
            complete = false;
        }
    }
    if (std::cin.bad() || !std::cout.flush()) {
        std::cerr << "cannot read standard input or write standard output\n";
        return 1;
    }
    return complete ? 0 : 1;
}
