// SPDX-License-Identifier: Apache-2.0
// Finds an OpenCL library at run time and fills the function variables of clew/clew.h.
//
// A runtime that the process has loaded already comes first: wrappers that watch OpenCL programs are
// preloaded, and a plain open of the system's library would go past them.
#include "functions.h"

#include <clew/clew.h>

#include <cstdlib>
#include <mutex>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

extern "C" {
#define HEADLESS_DEFINE(NAME) decltype(__clew##NAME) __clew##NAME = nullptr;
HEADLESS_OPENCL_FUNCTIONS(HEADLESS_DEFINE)
#undef HEADLESS_DEFINE
}

namespace {

#if defined(_WIN32)
using Library = HMODULE;
Library openLibrary(const char* name) {
    return LoadLibraryA(name);
}
void closeLibrary(Library library) {
    FreeLibrary(library);
}
void* findSymbol(Library library, const char* name) {
    return reinterpret_cast<void*>(GetProcAddress(library, name));
}
// Nothing is preloaded on Windows: a wrapper lies beside the program as OpenCL.dll and is found by name.
bool processHasOpenCL() {
    return false;
}
Library processLibrary() {
    return nullptr;
}
const char* const kSystemNames[] = {"OpenCL.dll"};
#else
using Library = void*;
Library openLibrary(const char* name) {
    return dlopen(name, RTLD_NOW | RTLD_LOCAL);
}
void closeLibrary(Library library) {
    dlclose(library);
}
void* findSymbol(Library library, const char* name) {
    return dlsym(library, name);
}
Library processLibrary() {
    return RTLD_DEFAULT;
}
bool processHasOpenCL() {
    return findSymbol(RTLD_DEFAULT, "clGetPlatformIDs") != nullptr;
}
const char* const kSystemNames[] = {"libOpenCL.so.1", "libOpenCL.so"};
#endif

struct Loader {
    std::mutex mutex;
    bool ready = false;
};

Loader& loader() {
    static Loader& instance = *new Loader;
    return instance;
}

void fill(Library library) {
#define HEADLESS_FILL(NAME)                                                                                  \
    __clew##NAME = reinterpret_cast<decltype(__clew##NAME)>(findSymbol(library, "cl" #NAME));
    HEADLESS_OPENCL_FUNCTIONS(HEADLESS_FILL)
#undef HEADLESS_FILL
}

void forget() {
#define HEADLESS_FORGET(NAME) __clew##NAME = nullptr;
    HEADLESS_OPENCL_FUNCTIONS(HEADLESS_FORGET)
#undef HEADLESS_FORGET
}

// Opens the library and fills the variables; a library that is no OpenCL is closed again.
bool tryLibrary(const char* name) {
    const Library library = openLibrary(name);
    if (!library) return false;
    if (!findSymbol(library, "clGetPlatformIDs")) {
        closeLibrary(library);
        return false;
    }
    fill(library);
    return true; // stays loaded: runtimes have threads and tables that do not survive being unloaded
}

bool load() {
    if (processHasOpenCL()) {
        fill(processLibrary());
        return true;
    }
    const char* chosen = std::getenv("TALVISORA_OPENCL_LIBRARY");
    if (chosen && *chosen) return tryLibrary(chosen);
    for (const char* name : kSystemNames) {
        if (tryLibrary(name)) return true;
    }
    return false;
}

} // namespace

int clewInit(void) {
    Loader& l = loader();
    std::lock_guard<std::mutex> lock(l.mutex);
    if (!l.ready) l.ready = load();
    if (!l.ready) forget();
    return l.ready ? CLEW_SUCCESS : CLEW_ERROR_OPEN_FAILED;
}

void clewExit(void) {
    Loader& l = loader();
    std::lock_guard<std::mutex> lock(l.mutex);
    forget();
    l.ready = false;
}
