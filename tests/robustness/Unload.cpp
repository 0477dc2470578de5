// A program that loads the library, closes it while it holds paths, and releases these afterwards.

#include <dlfcn.h>

#include <Tavik/ObjectPath/ObjectPath.h>

// The header refers to these, which would make the linker load the library.
void Tavik::Impl::TAVIK_OBJECT_PATH_ABSEIL_LAYOUT() noexcept {}
void Tavik::Impl::TAVIK_OBJECT_PATH_STANDARD_LAYOUT() noexcept {}
void Tavik::Impl::layoutOfAbseil(const absl::flat_hash_map<int, int>* /*unused*/) noexcept {}

int main(int, char** arguments) {
    if (dlopen(arguments[1], RTLD_LAZY | RTLD_NOLOAD) != nullptr) {
        return 1;  // linked with the library, which makes the test void
    }
    void* const library = dlopen(arguments[1], RTLD_NOW);
    const auto parse = reinterpret_cast<Tavik::ObjectPath (*)(std::string_view)>(
        dlsym(library, "_ZN5Tavik15parseObjectPathESt17basic_string_viewIcSt11char_traitsIcEE"));
    static const Tavik::ObjectPath untilExit = parse("/a/b[k=a value that is too long to be held inline]");
    const Tavik::ObjectPath path = parse("/a/b[k=another value that is too long to be held inline]/c");
    return dlclose(library);
}
