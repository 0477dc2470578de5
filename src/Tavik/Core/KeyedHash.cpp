// Hashing strings under a secret key. The comment of `keyedHash` in String.h says how hard collisions are to choose.

#define XXH_INLINE_ALL
#define XXH_STATIC_LINKING_ONLY
#include <sys/auxv.h>
#include <unistd.h>
#include <xxhash.h>

#include <Tavik/Core/String.h>

namespace Tavik::Impl {
namespace {

__extension__ using Word2 = unsigned __int128;

/// Drawn once, when the library is loaded.
struct Key {
    Key() noexcept {
        if (getentropy(this, sizeof *this) != 0) {
            // The kernel gives every process 16 random bytes at its start.
            XXH3_generateSecret(this, sizeof *this, reinterpret_cast<const void*>(getauxval(AT_RANDOM)), 16);
        }
    }

    Word2 factorOfFirst;
    Word2 factorOfLast;
    Word2 summand;
    unsigned char secret[XXH_SECRET_DEFAULT_SIZE];
};

static_assert(sizeof(Key) <= 256, "more cannot be drawn at once");

const Key key;

}  // namespace

/// Multilinear hashing: the upper half of a sum of products. For a random key, the hashes of two different pairs of
/// words are independent and uniformly distributed, whatever the words are.
std::uint64_t StrB::hashWords(std::uint64_t first, std::uint64_t last) noexcept {
    return static_cast<std::uint64_t>((key.factorOfFirst * first + key.factorOfLast * last + key.summand) >> 64);
}

std::uint64_t StrB::hashBytes(std::string_view text) noexcept {
    return XXH3_64bits_withSecret(text.data(), text.size(), key.secret, sizeof key.secret);
}

}  // namespace Tavik::Impl
