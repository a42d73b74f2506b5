// SPDX-License-Identifier: Apache-2.0
// One OpenCL device for tests and benchmarks, reached through the loader and nothing of the module: what runs
// here is the program text alone. Throws std::runtime_error with the OpenCL error's name when a call fails.
#pragma once

#include <clew/clew.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace talvisora::device {

/// A buffer on the device, as large as what was put into it; at least one byte, as a device has no empty
/// ones.
using Buffer = std::shared_ptr<_cl_mem>;
using Kernel = std::shared_ptr<_cl_kernel>;

/// Throws with `what` and the error's name unless `error` is 0.
void check(cl_int error, const char* what);

/// The first device of the first platform that has one; the environment variable TALVISORA_TEST_DEVICE counts
/// on from there (0 is the default). Its queue runs in order and times its commands. Not for several threads.
class OpenClDevice {
public:
    /// Opens the device. Null when this machine has none; `whyNot` then says so in a sentence.
    static std::unique_ptr<OpenClDevice> open(std::string& whyNot);
    ~OpenClDevice();
    OpenClDevice(const OpenClDevice&) = delete;
    OpenClDevice& operator=(const OpenClDevice&) = delete;

    const std::string& name() const { return name_; }
    cl_device_id id() const { return device_; }
    cl_context context() const { return context_; }
    cl_command_queue queue() const { return queue_; }
    bool isCpu() const;
    std::size_t memoryBytes() const;

    /// Compiles `text` without options. Throws with the build log when it is refused.
    Kernel compile(const std::string& text, const char* entry) const;
    /// The largest work-group that this kernel runs in.
    std::size_t workGroupSize(const Kernel& kernel) const;

    Buffer create(const void* data, std::size_t bytes) const;
    template <class T>
    Buffer create(const std::vector<T>& data) const {
        return create(data.data(), data.size() * sizeof(T));
    }
    void read(const Buffer& buffer, void* to, std::size_t bytes) const;
    template <class T>
    std::vector<T> read(const Buffer& buffer, std::size_t count) const {
        std::vector<T> data(count);
        read(buffer, data.data(), count * sizeof(T));
        return data;
    }

    /// Runs the kernel over `global` work-items in groups of `local` (0: as the device likes) and waits.
    /// Answers the seconds that the device says it took.
    double launch(const Kernel& kernel, std::size_t global, std::size_t local) const;
    /// Copies a buffer and waits; the seconds that it took.
    double copy(const Buffer& from, const Buffer& to, std::size_t bytes) const;

private:
    OpenClDevice() = default;
    double finish(cl_event event) const;

    cl_device_id device_ = nullptr;
    cl_context context_ = nullptr;
    cl_command_queue queue_ = nullptr;
    std::string name_;
};

} // namespace talvisora::device
