// SPDX-License-Identifier: Apache-2.0
#include "host/module_loader.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace talvisora::host {

namespace {

constexpr std::array<const char*, 5> kVariants = {"avx512", "avx2", "avx", "sse4.1", "sse2"};

#if defined(_WIN32)
constexpr const char* kModuleFile = "talvisora.dll";

std::filesystem::path executablePath() {
    wchar_t path[32768];
    const DWORD size = GetModuleFileNameW(nullptr, path, 32768);
    return std::filesystem::path(std::wstring(path, size));
}
#else
constexpr const char* kModuleFile = "libtalvisora.so";

std::filesystem::path executablePath() {
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/exe", error);
}
#endif

std::string oneLine(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

} // namespace

bool isVariantName(const std::string& name) {
    return std::find(kVariants.begin(), kVariants.end(), name) != kVariants.end();
}

void chooseVariant(const std::string& name) {
    if (name.empty()) return;
    if (!isVariantName(name))
        throw HostError(ExitCode::kUsage,
                        "--variant " + name + ": avx512, avx2, avx, sse4.1 or sse2 expected");
#if defined(_WIN32)
    _putenv_s("TALVISORA_CPU", name.c_str());
#else
    setenv("TALVISORA_CPU", name.c_str(), 1);
#endif
}

std::string defaultModulePath() {
    return (executablePath().parent_path() / kModuleFile).string();
}

Module::Module(const std::string& path) : path_(path.empty() ? defaultModulePath() : path) {
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::path file =
        fs::absolute(path_, error); // a bare name would be looked for in the system's folders
    if (!fs::exists(file, error))
        throw HostError(ExitCode::kInput,
                        path_ + ": no such module; build it or name one with --module FILE");
    if (!fs::is_regular_file(file, error))
        throw HostError(ExitCode::kInput, path_ + ": not a file; name a module library");
#if defined(_WIN32)
    library_ = LoadLibraryW(file.c_str());
    const std::string reason = "Windows error " + std::to_string(GetLastError());
#else
    library_ = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    const char* text = library_ ? nullptr : dlerror();
    const std::string reason = text ? text : "unknown reason";
#endif
    if (!library_)
        throw HostError(ExitCode::kInput,
                        path_ + ": not a library that can be loaded (" + oneLine(reason) + ")");
    create_ = reinterpret_cast<GrNode* (*)()>(symbol("create"));
    if (!create_)
        throw HostError(ExitCode::kInput,
                        path_ +
                            ": exports no 'create', so it is not a deformer module; name one with --module");
}

void* Module::symbol(const char* name) const {
#if defined(_WIN32)
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library_), name));
#else
    return dlsym(library_, name);
#endif
}

std::unique_ptr<GrNode> Module::createNode() const {
    std::unique_ptr<GrNode> node(create_());
    if (!node) throw HostError(ExitCode::kInput, path_ + ": made no node; memory may have run out");
    return node;
}

Module::Command Module::command(const std::string& name) const {
    return reinterpret_cast<Command>(symbol(name.c_str()));
}

} // namespace talvisora::host
