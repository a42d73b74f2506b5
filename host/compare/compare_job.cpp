// SPDX-License-Identifier: Apache-2.0
// Order: options, kind of the files, the comparison of that kind, the verdict, the picture.
#include "host/compare/compare_job.h"

#include "host/compare/compare_parts.h"
#include "host/deform/frame_outputs.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <filesystem>

namespace talvisora::host {

namespace {

enum class FileKind { kCache, kDocument, kCharacter };

FileKind kindOf(const std::string& path) {
    std::string extension = std::filesystem::path(path).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (extension == ".pc2") return FileKind::kCache;
    return extension == ".json" ? FileKind::kDocument : FileKind::kCharacter;
}

// "0.01" or "0.1%".
struct Tolerance {
    double value = 0.0;
    bool share = false;
};

std::optional<Tolerance> readTolerance(const std::string& text) {
    if (text.empty()) return std::nullopt;
    Tolerance tolerance;
    tolerance.share = text.back() == '%';
    const char* end = text.data() + text.size() - (tolerance.share ? 1 : 0);
    const auto read = std::from_chars(text.data(), end, tolerance.value);
    if (read.ec != std::errc() || read.ptr != end || !(tolerance.value >= 0.0) ||
        !std::isfinite(tolerance.value))
        throw HostError(ExitCode::kUsage, "--tolerance " + text +
                                              ": a length of 0 or more expected, or a part of the bounding "
                                              "box such as 0.1%");
    if (tolerance.share) tolerance.value /= 100.0;
    return tolerance;
}

void judge(const std::optional<Tolerance>& tolerance, CompareReport& report) {
    if (tolerance)
        report.limit = tolerance->share ? tolerance->value * report.all.diagonal : tolerance->value;
    else if (report.processorToDevice)
        report.limit = kSinglePrecision * report.all.largestCoordinate;
    if (!report.limit) return;
    report.over = report.judged.largest > *report.limit || !report.answers.empty();
}

} // namespace

void Comparison::addFrame(int frame, const std::vector<Vec3d>& first, const std::vector<Vec3d>& second,
                          const MeantDifferences* meant) {
    const double before = all_.largest();
    all_.addFrame(frame, first, second);
    judged_.addFrame(frame, first, second, meant ? meant->points : std::vector<bool>());
    if (meant) {
        weighted_ += meant->weighted;
        threshold_ += meant->threshold;
        for (const std::string& line : meant->evaluation)
            if (std::find(evaluation_.begin(), evaluation_.end(), line) == evaluation_.end())
                evaluation_.push_back(line);
    }
    if (perPoint_.empty() && worstPoints_.empty()) perPoint_.assign(first.size(), 0.0f);
    drawable_ = drawable_ && perPoint_.size() == first.size();
    if (!drawable_) {
        perPoint_.clear();
        return;
    }
    for (std::size_t i = 0; i < first.size(); ++i) {
        if (!isFinite(first[i]) && !isFinite(second[i])) continue;
        const double apart = length(first[i] - second[i]);
        perPoint_[i] = std::max(perPoint_[i], std::isfinite(apart) ? static_cast<float>(apart) : HUGE_VALF);
    }
    if (worstPoints_.empty() || all_.largest() > before) worstPoints_ = first;
}

void Comparison::finish(CompareReport& report) const {
    report.all = all_.result();
    report.judged = judged_.result();
    report.weighted = weighted_;
    report.threshold = threshold_;
    report.meant.insert(report.meant.end(), evaluation_.begin(), evaluation_.end());
}

CompareReport runCompareJob(const CompareJob& job) {
    const auto tolerance = readTolerance(job.tolerance);
    checkPictureName(job.picture);
    viewNamed(job.deform.view);
    if (!(job.deform.fps > 0.0) || !std::isfinite(job.deform.fps))
        throw HostError(ExitCode::kUsage, "--fps must be a positive number");
    if (!job.deform.up.empty() && job.deform.up != "y" && job.deform.up != "z")
        throw HostError(ExitCode::kUsage, "--up " + job.deform.up + ": y or z expected");
    const DeviceKind device = job.deform.device.kind;
    if (job.second.empty() && (device == DeviceKind::kCpu || device == DeviceKind::kAuto))
        throw HostError(ExitCode::kUsage,
                        "--device: one file is compared between the CPU and a GPU; use gpu or the number of "
                        "a device");
    chooseVariant(job.deform.variant);
    const FileKind kind = kindOf(job.first);
    CompareReport report;
    report.processorToDevice = job.second.empty();
    report.first = job.second.empty() ? job.first + " on the CPU" : job.first;
    report.second = job.second;
    if (!job.second.empty() && (kindOf(job.second) != kind || kind == FileKind::kCharacter))
        throw HostError(ExitCode::kUsage,
                        "'" + job.first + "' and '" + job.second +
                            "': two caches (.pc2) or two captures or answers (.json) can be "
                            "compared; one capture or one character alone is compared "
                            "between CPU and GPU");
    if (job.second.empty() && kind == FileKind::kCache)
        throw HostError(ExitCode::kUsage, "'" + job.first + "': name a second cache to compare it with");

    ComparedMesh mesh;
    std::unique_ptr<Comparison> comparison;
    if (kind == FileKind::kCache)
        comparison = compareCaches(job, report);
    else if (kind == FileKind::kDocument)
        comparison = compareAnswers(job, report, mesh);
    else
        comparison = compareCharacter(job, report, mesh);
    comparison->finish(report);
    judge(tolerance, report);
    if (!job.picture.empty()) {
        drawComparison(job, *comparison, report, mesh);
        report.picture = job.picture;
    }
    return report;
}

} // namespace talvisora::host
