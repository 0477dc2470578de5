// Runs the benchmarks that the flags of Google Benchmark select.

#include <thread>

#include "Registration.h"

int main(int argc, char** argv) {
    // In a process that never had a second thread, shared_ptr counts without atomic operations.
    std::thread([] {}).join();

    Benchmarks::requireAgreement();
    Benchmarks::addParsing();
    Benchmarks::addAppending();
    Benchmarks::addValues();
    Benchmarks::addNavigation();
    Benchmarks::addWriting();
    Benchmarks::addMatching();
    Benchmarks::addThreads();
    Benchmarks::addKeeping();
    Benchmarks::addFloors();

    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::AddCustomContext("compiler", BENCHMARK_COMPILER);
    benchmark::AddCustomContext("flags", BENCHMARK_FLAGS);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
