// Runs the benchmarks that the flags of Google Benchmark select:
//
//   objectpath-benchmark [FLAGS] [FILE_LIST]

#include <cstdlib>
#include <iostream>
#include <string>
#include <thread>

#include "Registration.h"

int main(int argc, char** argv) {
    // In a process that never had a second thread, std::shared_ptr counts references without atomic operations.
    std::thread([] {}).join();

    benchmark::Initialize(&argc, argv);
    if (argc > 2 || (argc == 2 && *argv[1] == '-')) {
        std::cerr << "usage: objectpath-benchmark [FLAGS OF GOOGLE BENCHMARK] [FILE_LIST]\n";
        return EXIT_FAILURE;
    }
    benchmark::AddCustomContext("compiler", BENCHMARK_COMPILER);
    benchmark::AddCustomContext("flags", BENCHMARK_FLAGS);
    benchmark::AddCustomContext("steps", Benchmarks::stepTitles());

    Benchmarks::requireAgreement();
    const std::string fileList = argc == 2 ? argv[1] : "";
    Benchmarks::addPauses();
    Benchmarks::addOnePath();
    Benchmarks::addManyPaths(fileList);
    Benchmarks::addTwoThreads(fileList);
    Benchmarks::addPatterns(fileList);
    Benchmarks::addFloors();
    // A filter that matches nothing has already been reported.
    return benchmark::RunSpecifiedBenchmarks() == 0 ? EXIT_FAILURE : EXIT_SUCCESS;
}
