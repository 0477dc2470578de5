// Replaces libFuzzer in ordinary tests: runs a target once with each file of a directory.

#include <filesystem>
#include <fstream>
#include <iostream>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size);

int main(int, char** arguments) {
    int status = 1;  // if there is no file
    for (const auto& entry : std::filesystem::directory_iterator(arguments[1])) {
        std::cout << entry.path() << std::endl;
        std::ifstream file(entry.path(), std::ios::binary);
        const std::vector<char> bytes(std::istreambuf_iterator<char>(file), {});
        status = LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    }
    return status;
}
