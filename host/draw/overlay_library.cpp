// SPDX-License-Identifier: Apache-2.0
#include "host/draw/overlay_library.h"

#include "host/module_loader.h"

#include <filesystem>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace talvisora::host {

namespace fs = std::filesystem;

std::string defaultOverlayPath() {
#if defined(_WIN32)
    constexpr const char* kFile = "talvisora_overlay.dll";
#else
    constexpr const char* kFile = "libtalvisora_overlay.so";
#endif
    return (fs::path(defaultModulePath()).parent_path() / kFile).string();
}

OverlayFunction loadOverlay(const std::string& path) {
    const std::string name = path.empty() ? defaultOverlayPath() : path;
    std::error_code error;
    const fs::path file = fs::absolute(name, error);
    if (!fs::is_regular_file(file, error))
        throw HostError(ExitCode::kInput,
                        name + ": the overlay library is not there; build talvisora_overlay");
#if defined(_WIN32)
    const HMODULE library = LoadLibraryW(file.c_str());
    const std::string reason = "Windows error " + std::to_string(GetLastError());
    void* symbol = library ? reinterpret_cast<void*>(GetProcAddress(library, kOverlayExport)) : nullptr;
#else
    void* library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    const char* text = library ? nullptr : dlerror();
    const std::string reason = text ? text : "unknown reason";
    void* symbol = library ? dlsym(library, kOverlayExport) : nullptr;
#endif
    if (!library)
        throw HostError(ExitCode::kInput, name + ": not a library that can be loaded (" + reason + ")");
    if (!symbol)
        throw HostError(ExitCode::kInput,
                        name + ": exports no '" + kOverlayExport + "'; build talvisora_overlay again");
    return reinterpret_cast<OverlayFunction>(symbol);
}

} // namespace talvisora::host
