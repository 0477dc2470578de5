// Draw the nodes that the given paths are made of as a Graphviz graph. For example:
// draw-nodes '/dev[id=3]' '/dev[id=4]' | dot -Tsvg > nodes.svg

#include <iostream>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include <absl/container/flat_hash_map.h>

#include <Tavik/ObjectPath/ObjectPath.h>

namespace {

using Tavik::Impl::Segment;
using Tavik::Impl::Value;

constexpr const char* gray = "#57606a";

const Segment* linkOf(const Segment& node) {
    return node.parent.get();
}

const Value* linkOf(const Value& node) {
    return node.previous.get();
}

std::string quotedLabel(std::string_view text) {
    std::string result = "\"";
    for (const char character : text) {
        result += character == '"' || character == '\\' ? "\\" : "";
        result += character;
    }
    return result + '"';
}

std::string styleOf(const Segment& node) {
    std::string label(node.name);
    for (const Tavik::String& key : node.attributeKeys) {
        label += fmt::format(" [{}]", key);
    }
    return "shape=box, fillcolor=\"#cfe3f7\", label=" + quotedLabel(label);
}

std::string styleOf(const Value& node) {
    return "shape=ellipse, fillcolor=\"#fbe7b2\", label=" + quotedLabel(node.value);
}

class Drawing {
public:
    void draw(const Tavik::ObjectPath& path) {
        const std::string name = fmt::format("path{}", pathCount_++);
        // The outline is where the arrows begin: how wide the text is depends on the fonts of the reader.
        std::cout << "  " << name << " [shape=box, style=rounded, fontcolor=\"" << gray
                  << "\", label=" << quotedLabel(path.toString()) << "]\n";
        drawChain(name, path.segment.get());
        drawChain(name, path.values.get());
    }

private:
    /// Draws a chain up to the first node that has been drawn already.
    template <typename Node>
    void drawChain(std::string from, const Node* node) {
        for (; node != nullptr; node = linkOf(*node)) {
            const auto [entry, isNew] = names_.try_emplace(node, fmt::format("node{}", names_.size()));
            std::cout << "  " << from << " -> " << entry->second << '\n';
            if (!isNew) {
                return;
            }
            std::cout << "  " << entry->second << " [style=filled, " << styleOf(*node) << "]\n";
            from = entry->second;
        }
    }

    int pathCount_ = 0;
    absl::flat_hash_map<const void*, std::string> names_;
};

}  // namespace

int main(int argc, char** argv) {
    std::vector<Tavik::ObjectPath> paths;  // keeps all nodes alive, so that each has its own address
    for (int i = 1; i < argc; ++i) {
        const auto result = Tavik::tryParseObjectPath(argv[i]);
        if (const auto* message = std::get_if<Tavik::String>(&result)) {
            std::cerr << "draw-nodes: " << *message << ": \"" << argv[i] << "\"\n";
            return 1;
        }
        paths.push_back(std::get<Tavik::ObjectPath>(result));
    }

    Drawing drawing;
    std::cout << "digraph {\n  rankdir=LR\n  bgcolor=white\n"
              << "  node [fontname=\"sans-serif\", fontsize=12, color=\"" << gray << "\"]\n"
              << "  edge [tailport=e, color=\"" << gray << "\"]\n";
    for (const Tavik::ObjectPath& path : paths) {
        drawing.draw(path);
    }
    std::cout << "}\n";
}
