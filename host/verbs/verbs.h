// SPDX-License-Identifier: Apache-2.0
// The verbs of grhost behind the command line: options in, exit code out. Reports go to standard output, talk
// to standard error; failures are HostError.
#pragma once

#include "host/bench/bench_job.h"
#include "host/bind/bind_job.h"
#include "host/check/check_job.h"
#include "host/compare/compare_job.h"
#include "host/deform/deform_job.h"
#include "host/doctor/doctor_job.h"
#include "host/draw/draw_job.h"
#include "host/quality/quality_job.h"
#include "host/reset/reset_job.h"
#include "host/rig_edit/edit_jobs.h"
#include "host/view/view_job.h"

#include <string>
#include <vector>

namespace talvisora::host {

struct ReplayVerb {
    std::string capture; ///< path
    std::string module;  ///< path; empty: the one beside the executable
    std::string variant;
    int threads = 0;
    DeviceChoice device;
};

/// Prints the replay's answer; with an automatic choice of the device, on standard error, what it was.
ExitCode runReplayVerb(const ReplayVerb& verb);

struct InfoVerb {
    std::string target; ///< path of a module or of a character
    FileUnit units = FileUnit::kFromFile;
    double fps = 24.0;
    bool simple = false; ///< describe the rig that `deform --simple` would build
    bool json = false;
};

/// Prints the attribute tree of a module, or joints, chains, clips, points and weights of a character.
ExitCode runInfoVerb(const InfoVerb& verb);

/// Times a character's frames, then prints the times, or with `json` one report object.
ExitCode runBenchVerb(const BenchJob& job, bool json);

/// Deforms, then prints a summary, or with `json` one report object.
ExitCode runDeformVerb(const DeformJob& job, bool json);

/// Writes a rig file, then prints the table of its blocks, or with `json` one report object. The chains of
/// `job.blocks` may be "@FILE": they are read from there.
ExitCode runBindVerb(BindJob job, bool json);

/// Checks a rig, then prints what was found, or with `json` one report object. kFindings when there is
/// anything.
ExitCode runCheckVerb(const CheckJob& job, bool json);

/// Draws a rig over its character, then prints what was drawn, or with `json` one report object.
ExitCode runDrawVerb(const DrawJob& job, bool json);
ExitCode runViewVerb(const ViewJob& job, bool json);

/// Compares, then prints figures, or with `json` one report object. kFindings when a difference is past the
/// tolerance.
ExitCode runCompareVerb(const CompareJob& job, bool json);

/// Prints what is here, what is missing and what helps. kFindings when a self check came out wrong.
ExitCode runDoctorVerb(const DoctorJob& job, bool json);

/// Measures made-up limbs, then prints the table, or with `json` one report object.
ExitCode runQualityVerb(const QualityJob& job, bool json);

/// Edit a rig file, then print what was done, or with `json` one report object.
ExitCode runMirrorVerb(const MirrorJob& job, bool json);
ExitCode runTransferVerb(const TransferJob& job, bool json);

/// Runs the module's own reset commands on a rig file, then prints a table of what changed, or with `json`
/// one report object.
ExitCode runResetVerb(const ResetJob& job, bool json);

/// How a verb ends that has notes, a summary for people and a report for programs: notes go to standard
/// error; with `json` the report goes to standard output and the summary to standard error, else the summary
/// to standard output. `quiet` leaves notes and summary out. Throws HostError kOutput.
struct VerbTalk {
    std::vector<std::string> notes;
    std::string summary, json;
};
void printTalk(const VerbTalk& talk, bool json, bool quiet);

/// Writes to standard output and makes sure that it arrived. Throws HostError kOutput.
void printOut(const std::string& text);

} // namespace talvisora::host
