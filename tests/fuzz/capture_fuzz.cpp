// SPDX-License-Identifier: Apache-2.0
// Random text into the capture reader (libFuzzer; scripts/check-all fuzz). Whatever comes in is refused with
// one line, or is a capture that writes itself down and reads back as the same document. Anything else, a
// crash, a hang, another exception or a report of the sanitizers, ends the run.
#include "host/capture/capture.h"
#include "host/host_error.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace talvisora::host;
    std::string written;
    try {
        written = captureText(parseCapture(std::string_view(reinterpret_cast<const char*>(data), size)));
    } catch (const HostError& error) {
        // One line, of the kind that says "this input is not good".
        if (error.code != ExitCode::kInput || !*error.what() || std::strchr(error.what(), '\n')) std::abort();
        return 0;
    }
    // What we wrote ourselves must read back, to the same text.
    if (captureText(parseCapture(written)) != written) std::abort();
    return 0;
}
