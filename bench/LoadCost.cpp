// SPDX-License-Identifier: Apache-2.0
// The cost of loading a library, measured once in this (fresh) process:
//   qvncam_bench_load [--heap] LIB [PRELOAD...]
// PRELOAD libraries are loaded first, so that their cost is left out. Prints one line:
//   load_ns=... minflt=... unload_ns=... new_count=... new_live_bytes=... heap_delta=...
// load_ns covers dlopen with RTLD_NOW: mapping, relocation and every static initialiser.
// minflt counts the page faults taken meanwhile: each first touch of a heap or copy-on-write
// page, a large and stable share of the load on a virtual machine.
// With --heap, new_* count what operator new handed out during dlopen and was still held
// afterwards: the heap the library's tables keep (the counting slows the load, so timing runs
// go without it). heap_delta is malloc's own in-use figure (mallinfo2), which also includes
// the loader's bookkeeping.
//
// Run it in a new process for every sample: a library with STB_GNU_UNIQUE symbols (any C++
// library with inline statics) is never unloaded by dlclose, so a second dlopen in the same
// process costs only a reference count.

#include <dlfcn.h>
#include <malloc.h>
#include <sys/resource.h>
#include <time.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

std::atomic<bool> gCounting{false};
std::atomic<long long> gNewCount{0};
std::atomic<long long> gLiveBytes{0};

void* allocate(std::size_t size) {
    void* p = std::malloc(size != 0 ? size : 1);
    if (p == nullptr) {
        throw std::bad_alloc();
    }
    if (gCounting.load(std::memory_order_relaxed)) {
        gNewCount.fetch_add(1, std::memory_order_relaxed);
        gLiveBytes.fetch_add(static_cast<long long>(malloc_usable_size(p)),
                             std::memory_order_relaxed);
    }
    return p;
}

void release(void* p) {
    if (p != nullptr && gCounting.load(std::memory_order_relaxed)) {
        gLiveBytes.fetch_sub(static_cast<long long>(malloc_usable_size(p)),
                             std::memory_order_relaxed);
    }
    std::free(p);
}

long long nowNs() {
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<long long>(ts.tv_sec) * 1000000000LL + ts.tv_nsec;
}

long minorFaults() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt;
}

}  // namespace

// Every operator new of the process, the library's included, comes here.
void* operator new(std::size_t size) {
    return allocate(size);
}
void* operator new[](std::size_t size) {
    return allocate(size);
}
void operator delete(void* p) noexcept {
    release(p);
}
void operator delete[](void* p) noexcept {
    release(p);
}
void operator delete(void* p, std::size_t) noexcept {
    release(p);
}
void operator delete[](void* p, std::size_t) noexcept {
    release(p);
}

int main(int argc, char** argv) {
    int first = 1;
    const bool heap = argc > 1 && std::strcmp(argv[1], "--heap") == 0;
    if (heap) {
        ++first;
    }
    if (argc <= first) {
        std::fprintf(stderr, "usage: %s [--heap] LIB [PRELOAD...]\n", argv[0]);
        return 2;
    }
    const char* path = argv[first];
    for (int i = first + 1; i < argc; ++i) {
        if (dlopen(argv[i], RTLD_NOW | RTLD_GLOBAL) == nullptr) {
            std::fprintf(stderr, "preload %s: %s\n", argv[i], dlerror());
            return 1;
        }
    }
    const struct mallinfo2 before = mallinfo2();
    gCounting.store(heap);
    const long faults0 = minorFaults();
    const long long t0 = nowNs();
    void* lib = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    const long long t1 = nowNs();
    const long faults1 = minorFaults();
    gCounting.store(false);
    const struct mallinfo2 after = mallinfo2();
    if (lib == nullptr) {
        std::fprintf(stderr, "dlopen %s: %s\n", path, dlerror());
        return 1;
    }
    const long long t2 = nowNs();
    dlclose(lib);
    const long long t3 = nowNs();
    std::printf(
        "load_ns=%lld minflt=%ld unload_ns=%lld new_count=%lld new_live_bytes=%lld "
        "heap_delta=%lld\n",
        t1 - t0, faults1 - faults0, t3 - t2, gNewCount.load(), gLiveBytes.load(),
        static_cast<long long>(after.uordblks) - static_cast<long long>(before.uordblks));
    return 0;
}
