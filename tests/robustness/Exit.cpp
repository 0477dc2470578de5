// A program that works with paths until nothing of it is left. It ends with status 0 when they stayed usable.

#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <thread>

#include <Tavik/ObjectPath/ObjectPath.h>

namespace {

using Tavik::ObjectPath;

ObjectPath build(std::string_view name) {
    return ObjectPath().append(name, {{"key", "a value that is too long to be held inline"}}).append("leaf");
}

/// Holds a path of its own, and builds and releases it anew when it goes. As long as a path is held, equal content must
/// be the same path.
struct Holder {
    explicit Holder(std::string_view itsName) : name(itsName), path(build(name)) {}
    Holder(const Holder&) = delete;
    Holder& operator=(const Holder&) = delete;
    ~Holder() {
        check();
        path = ObjectPath();
        path = build(name);
        check();
    }

    void check() const {
        if (path != build(name) || Tavik::parseObjectPath(path.toString().view()) != path) {
            std::fprintf(stderr, "the path of %s is lost\n", name.data());
            _exit(EXIT_FAILURE);
        }
    }

    std::string_view name;
    ObjectPath path;
};

std::atomic<int> roundsOfWorkers = 0;

void waitForWorkers() {
    const int seen = roundsOfWorkers;
    while (roundsOfWorkers - seen < 100) {
        std::this_thread::yield();
    }
}

[[noreturn]] void work() {
    thread_local const Holder holder("a worker");
    for (;; ++roundsOfWorkers) {
        const Holder ofThisRound("the workers");
        holder.check();
    }
}

const Holder global("a global");
Holder* leaked = nullptr;

void onExit() {
    const Holder local("an exit handler");
    leaked->check();
    waitForWorkers();
}

/// Runs when the destructors of the program and of all its libraries have run.
void atTheVeryEnd(int, void*) {
    waitForWorkers();
    leaked->check();
    delete leaked;
}

// Handlers run in reverse order, so this one must be there before the libraries are initialised.
void registerTheLast() {
    on_exit(atTheVeryEnd, nullptr);
}
[[gnu::used, gnu::section(".preinit_array")]] void (*const beforeAnythingElse)() = registerTheLast;

}  // namespace

int main() {
    static const Holder local("a local of main");
    thread_local const Holder ofThread("the main thread");
    leaked = new Holder("nobody");
    std::atexit(onExit);
    for (int i = 0; i < 2; ++i) {
        std::thread(work).detach();
    }
    ofThread.check();
    waitForWorkers();
    std::exit(EXIT_SUCCESS);
}
