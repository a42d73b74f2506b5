// SPDX-License-Identifier: Apache-2.0
#include "host/compare/compare_parts.h"
#include "host/compare/pc2_reader.h"
#include "host/figures.h"

namespace talvisora::host {

std::unique_ptr<Comparison> compareCaches(const CompareJob& job, CompareReport& report) {
    Pc2Reader first(job.first), second(job.second);
    const auto differ = [&](const char* what, std::uint32_t a, std::uint32_t b) {
        if (a != b)
            throw HostError(ExitCode::kInput, "'" + job.first + "' has " + counted(a, what) + ", '" +
                                                  job.second + "' " + std::to_string(b) +
                                                  "; compare caches of the same frames and mesh");
    };
    differ("point", first.pointCount(), second.pointCount());
    differ("frame", first.frameCount(), second.frameCount());
    report.unit = "frame";
    auto comparison = std::make_unique<Comparison>(std::uint64_t{first.pointCount()} * first.frameCount());
    std::vector<Vec3d> a, b;
    for (std::uint32_t k = 0; k < first.frameCount(); ++k) {
        first.readFrame(a);
        second.readFrame(b);
        comparison->addFrame(first.frameNumber(k), a, b);
    }
    return comparison;
}

} // namespace talvisora::host
