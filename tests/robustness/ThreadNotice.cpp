// What tells the core library of threads may be the program's: it may build paths and fork.

#include <sys/wait.h>
#include <unistd.h>

#include <thread>

#include <Tavik/Core/ThreadControl.h>

#include "Checks.h"

namespace {

int calls = 0;
bool isChild = false;
std::thread waiting;

void build() {
    Checks::requireEqual(Tavik::ObjectPath().append("a").toString().view(), "/a", "text of a path");
}

/// Builds in the child of a fork, in which this thread is the only one.
void forkAndBuild() {
    const pid_t child = fork();
    if (child == 0) {
        isChild = true;
        build();
        _exit(calls == 2 ? 0 : 1);
    }
    int status = 0;
    Checks::requireEqual(waitpid(child, &status, 0), child, "child");
    Checks::requireEqual(status, 0, "status of the child");
}

}  // namespace

/// In place of the function of the core library.
void Tavik::ThreadControl::threadSafePointerIs(bool /*safe*/) noexcept {
    ++calls;
    if (!isChild) {
        build();
        waiting = std::thread(build);
        std::thread(forkAndBuild).join();
        isChild = fork() == 0;
    }
}

int main() {
    alarm(60);  // terminates a process whose threads wait for each other
    build();
    if (isChild) {
        std::thread(build).join();
        _exit(calls == 1 ? 0 : 1);
    }
    waiting.join();
    int status = 0;
    wait(&status);
    Checks::requireEqual(status, 0, "status of the child");
    Checks::requireEqual(calls, 1, "calls");
}
