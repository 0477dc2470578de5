// A peer that is fast because it does less would mislead, so all have to agree before anything is measured.

#include <cstdlib>
#include <iostream>

#include "Registration.h"
#include "Texts.h"

namespace Benchmarks {
namespace {

void require(bool agrees, const char* peer, std::string_view text) {
    if (!agrees) {
        std::cerr << peer << " disagrees about " << text << '\n';
        std::exit(EXIT_FAILURE);
    }
}

template <typename Peer>
void requireText(std::string_view text) {
    const auto path = Peer::path(text);
    require(Peer::toString(path) == text, Peer::label, text);
    require(Peer::append(Peer::parent(path), "port") == path, Peer::label, text);
    require(Peer::startsWith(path, Peer::parent(path)) && !Peer::startsWith(Peer::parent(path), path), Peer::label,
            text);
}

template <typename Peer>
void requireAgreementOf() {
    requireText<Peer>(Texts::threeSegments);
    requireText<Peer>(Texts::sixSegments);
    require(Peer::toString(Peer::path(Texts::escapedSegments)) == Texts::escapedSegments, Peer::label, "escapes");

    for (const std::string_view text : {"//a", "/a[k=v]x", "/a[k=v", "/a[k", "/a\\", "/a\\n", "[", "/a/[k=v]"}) {
        const auto ours = std::get<1>(Ours::parse(text));
        require(ours == std::string_view(std::get<1>(Peer::parse(text))), Peer::label, text);
    }
    for (const std::string_view text :
         {"/", "", "a/b/", "/a[k=1][k=2]/b", "/a]b=d", "/a[k=v=w/x[y]", "/n[x\\=y=[1\\]]"}) {
        require(Ours::toString(Ours::path(text)) == std::string_view(Peer::toString(Peer::path(text))), Peer::label,
                text);
    }
    for (const std::string_view pattern :
         {"/", "/site/*", "/*", "/.../port", "/.../port/...", "/.../port/*", "/site/.../rack[slot=*]/.../card/port",
          "/site/*/rack[row=4][slot=12]", "/*[floor=2]", "/site/.../rack[row=4]/card/module[type=sfp]/port/..."}) {
        const bool ours = Ours::matches(Ours::path(Texts::sixSegments), Ours::path(pattern));
        require(ours == Peer::matches(Peer::path(Texts::sixSegments), Peer::path(pattern)), Peer::label, pattern);
    }
}

}  // namespace

void requireAgreement() {
    requireAgreementOf<ByHand>();
    requireAgreementOf<ByHandPlain>();
    requireAgreementOf<ByHandFlat>();
    requireAgreementOf<Flyweight>();
}

}  // namespace Benchmarks
