// SPDX-License-Identifier: Apache-2.0
// A limb that the host makes up, run through the module in a moment: moved as a whole, where the answer is
// known in advance, and bent, where processor and OpenCL device must agree.
#pragma once

#include "host/module_loader.h"

#include <string>
#include <vector>

namespace talvisora::host {

/// One thing that was tried.
struct SelfCheck {
    std::string name;          ///< "CPU", "GPU 0 NAME"
    std::string what;          ///< "a limb moved as a whole, against its own motion"
    bool ran = false;          ///< false: could not be tried
    std::string failure;       ///< why it did not run, or what the module said; empty: nothing
    double largest = 0.0;      ///< distance to what it should be
    double share = 0.0;        ///< of the bounding box
    double limit = 0.0;        ///< largest share that is in order
    double milliseconds = 0.0; ///< of the evaluation, points there and back included
    double kernelMilliseconds = -1.0;

    bool passed() const { return ran && failure.empty() && share <= limit; }
};

/// The limb on the processor. Never throws for what the module does wrong.
SelfCheck checkProcessor(const Module& module, int threads);

/// The bent limb on the OpenCL device of that number against the processor.
SelfCheck checkDevice(const Module& module, int number, int threads);

} // namespace talvisora::host
