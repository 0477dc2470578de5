// A peer that is fast because it does less would mislead, so all have to agree before anything is measured.

#include <cstdlib>
#include <iostream>

#include "Registration.h"
#include "Texts.h"

namespace Benchmarks {
namespace {

template <typename Peer>
void requireText(std::string_view text) {
    const auto path = pathOf<Peer>(text);
    const auto parent = pathOf<Peer>(text.substr(0, text.rfind('/')));
    require(path.toString() == text && parent.append("port") == path, Peer::label, text);
    require(path.startsWith(parent) && !parent.startsWith(path), Peer::label, text);
}

template <typename Peer>
void requireAgreementOf() {
    requireText<Peer>(Texts::threeSegments);
    requireText<Peer>(Texts::sixSegments);
    const auto escaped = pathOf<Peer>(Texts::escapedSegments);
    require(escaped.toString() == Texts::escapedSegments && escaped.matchesPattern(escaped), Peer::label, "escapes");

    for (const std::string_view text : {"//a", "/a[k=v]x", "/a[k=v", "/a[k", "/a\\", "/a\\n", "[", "/a/[k=v]"}) {
        const auto ours = std::get<1>(Ours::parse(text));
        require(ours == std::string_view(std::get<1>(Peer::parse(text))), Peer::label, text);
    }
    for (const std::string_view text : {"/", "", "a/b/", "/a[k=1][k=2]/b", "/a]b=d", "/a[k=v=w/x[y]", "/n[x\\=y=[1\\]]",
                                        "/a[k=1][j=2]", "/\\=[k=v]", "/a[k\\==v\\]][l=]/b"}) {
        require(pathOf<Ours>(text).toString() == std::string_view(pathOf<Peer>(text).toString()), Peer::label, text);
    }
    for (const std::string_view pattern :
         {"/", "/site/*", "/*", "/.../port", "/.../port/...", "/.../port/*", "/site/.../rack[slot=*]/.../card/port",
          "/site/*/rack[row=4][slot=12]", "/*[floor=2]", "/site/.../rack[row=4]/card/module[type=sfp]/port/..."}) {
        const bool ours = pathOf<Ours>(Texts::sixSegments).matchesPattern(pathOf<Ours>(pattern));
        require(ours == pathOf<Peer>(Texts::sixSegments).matchesPattern(pathOf<Peer>(pattern)), Peer::label, pattern);
    }
}

}  // namespace

void require(bool holds, std::string_view subject, std::string_view detail) {
    if (!holds) {
        std::cerr << "check failed: " << subject << ": " << detail << '\n';
        std::exit(EXIT_FAILURE);
    }
}

void requireAgreement() {
    requireAgreementOf<ByHand>();
    requireAgreementOf<ByHandFlat>();
    requireAgreementOf<Flyweight>();
    requireAgreementOf<Text>();
}

}  // namespace Benchmarks
