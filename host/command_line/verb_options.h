// SPDX-License-Identifier: Apache-2.0
// What the command line knows of each verb: its options, and what to run once they are read.
#pragma once

#include "host/host_error.h"

#include <functional>

namespace CLI {
class App;
}

namespace talvisora::host {

/// A verb with its options, to be run once. Throws HostError.
using VerbAction = std::function<ExitCode()>;

/// A verb's job, and whether its report goes to programs. The options write into it, the action reads it.
template <class Job>
struct Asked {
    Job job;
    bool json = false;
};

/// Each adds a verb's options to `app`. What comes back runs the verb with what `app` has parsed by then; it
/// needs `app` alive.
/// @{

// rig_options.cpp: write rig files
VerbAction addBind(CLI::App& app);
VerbAction addWeights(CLI::App& app);
VerbAction addParams(CLI::App& app);
VerbAction addMirror(CLI::App& app);
VerbAction addTransfer(CLI::App& app);

// evaluation_options.cpp: run the module over frames
VerbAction addDeform(CLI::App& app);
VerbAction addBench(CLI::App& app);
VerbAction addReplay(CLI::App& app);

// drawing_options.cpp: show a rig over its character
VerbAction addDraw(CLI::App& app);
VerbAction addView(CLI::App& app);

// inspection_options.cpp: tell what there is, and how good it is
VerbAction addInfo(CLI::App& app);
VerbAction addCheck(CLI::App& app);
VerbAction addCompare(CLI::App& app);
VerbAction addDoctor(CLI::App& app);
VerbAction addQuality(CLI::App& app);

/// @}

} // namespace talvisora::host
