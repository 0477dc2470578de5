// A program that loads the library, closes it while it holds a path, and uses that path afterwards.

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

#include <Tavik/ObjectPath/ObjectPath.h>

int main(int, char** arguments) {
    using Parse = Tavik::ObjectPath (*)(std::string_view) noexcept;

    const char* const library = arguments[1];
    if (dlopen(library, RTLD_LAZY | RTLD_NOLOAD) != nullptr) {
        std::fputs("the program is linked with the library, which makes this test void\n", stderr);
        return EXIT_FAILURE;
    }
    void* const handle = dlopen(library, RTLD_NOW);
    if (handle == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        return EXIT_FAILURE;
    }
    const auto parse = reinterpret_cast<Parse>(
        dlsym(handle, "_ZN5Tavik15parseObjectPathESt17basic_string_viewIcSt11char_traitsIcEE"));
    static Tavik::ObjectPath untilExit = parse("/a/b[k=a value that is too long to be held inline]");
    {
        const Tavik::ObjectPath path = parse("/a/b[k=another value that is too long to be held inline]/c");
        dlclose(handle);
    }
    return EXIT_SUCCESS;
}
