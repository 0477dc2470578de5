// A program that works with paths until its very end. Its status is 0 if they stay usable.

#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <thread>

#include <Tavik/ObjectPath/ObjectPath.h>

namespace {

using Tavik::ObjectPath;

/// Holds a path, and releases and rebuilds it when it is destroyed. Equal content must always be the same path.
struct Holder {
    ~Holder() {
        check();
        path = ObjectPath();
        path = build();
    }
    [[nodiscard]] ObjectPath build() const {
        return ObjectPath().append(name, {{"key", "a value that is too long to be held inline"}}).append("leaf");
    }
    void check() const {
        require(path == build(), "built again");
        require(Tavik::parseObjectPath(path.toString()) == path, "parsed again");
    }
    void require(bool isSame, const char* how) const {
        if (!isSame) {
            fmt::print(stderr, "the path of {} is another one when it is {}\n", name, how);
            _exit(1);
        }
    }

    const char* name;
    ObjectPath path = build();
};

std::atomic<int> roundsOfWorkers = 0;

[[noreturn]] void work() {
    thread_local const Holder holder{"a worker"};
    for (;; ++roundsOfWorkers) {
        const Holder ofThisRound{"the workers"};
        holder.check();
    }
}

void waitForWorkers() {
    for (const int seen = roundsOfWorkers; roundsOfWorkers - seen < 100;) {
        std::this_thread::yield();
    }
}

#ifdef __SANITIZE_THREAD__
constexpr int rounds = PTHREAD_DESTRUCTOR_ITERATIONS - 1;  // The sanitizer cannot follow a thread in the last one.
#else
constexpr int rounds = PTHREAD_DESTRUCTOR_ITERATIONS;
#endif

/// Ends a thread whose data is destroyed in as many rounds as there are. What the library allocates for the thread in
/// the last one would leak.
void endThread() {
    static pthread_key_t key;
    static int round = 0;
    pthread_key_create(&key, [](void*) {
        const Holder ofDestructor{"a destructor of the data of a thread"};
        if (++round < rounds) {
            pthread_setspecific(key, &key);
        }
    });
    std::thread([] {
        thread_local const Holder ofThread{"an ended thread"};
        ofThread.check();
        pthread_setspecific(key, &key);
    }).join();
}

const Holder global{"a global"};
const Holder* const leaked = new Holder{"a leaked object"};

/// Runs when the destructors of the program and of all its libraries have run.
void finish(int, void*) {
    waitForWorkers();
    delete leaked;
}

// Handlers run in reverse order, so this one must be registered before the libraries are initialised.
[[gnu::used, gnu::section(".preinit_array")]] void (*const start)() = [] { on_exit(finish, nullptr); };

}  // namespace

int main() {
    static const Holder local{"a local of main"};
    thread_local const Holder ofThread{"the main thread"};
    ofThread.check();
    std::atexit([] { const Holder ofHandler{"an exit handler"}; });
    for (int i = 0; i < 2; ++i) {
        std::thread(work).detach();
    }
    endThread();
    waitForWorkers();
}
