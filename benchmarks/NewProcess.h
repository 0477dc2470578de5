/// @file
/// Runs a piece of work in a process of its own, so that its tables and its heap are as new.

#pragma once

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <new>
#include <thread>

#include "Registration.h"

namespace Benchmarks {

/// The result of `work` in a new process. It must be usable in another process.
template <typename Work, typename Result = std::invoke_result_t<Work>>
Result inNewProcess(Work work) {
    void* const shared = mmap(nullptr, sizeof(Result), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    require(shared != MAP_FAILED, "a new process", "mmap");
    const pid_t child = fork();
    if (child == 0) {
        // As in main: the child has one thread again.
        std::thread([] {}).join();
        new (shared) Result(work());
        _exit(EXIT_SUCCESS);
    }
    int status = EXIT_FAILURE;
    require(waitpid(child, &status, 0) == child && status == EXIT_SUCCESS, "a new process", "its exit status");
    const Result result = *static_cast<const Result*>(shared);
    munmap(shared, sizeof(Result));
    return result;
}

}  // namespace Benchmarks
