// SPDX-License-Identifier: Apache-2.0
// The parts of a comparison between its kinds: what gathers frames, and one function per kind that feeds it.
#pragma once

#include "host/capture/json_tree.h"
#include "host/compare/compare_job.h"
#include "host/compare/meant_differences.h"
#include "host/writers/output_mesh.h"

#include <memory>

namespace talvisora::host {

/// What single precision may make of a coordinate, as a part of the largest one.
inline constexpr double kSinglePrecision = 2e-5;

/// Gathers the frames of both sides, all points and those that are held to the limit, and what a picture
/// needs.
class Comparison {
public:
    /// total  points over all frames, as DifferenceMeter takes it
    explicit Comparison(std::uint64_t total) : all_(total), judged_(total) {}

    /// Frames have the same number of points on both sides; `meant`, when given, as many marks.
    void addFrame(int frame, const std::vector<Vec3d>& first, const std::vector<Vec3d>& second,
                  const MeantDifferences* meant = nullptr);
    /// Puts the results into the report.
    void finish(CompareReport& report) const;

    /// Per point the largest distance over the frames added (infinite: not finite on one side), and the
    /// points of the first side in the worst frame. Empty when frames have different numbers of points.
    const std::vector<float>& largestPerPoint() const { return perPoint_; }
    const std::vector<Vec3d>& worstFrame() const { return worstPoints_; }

private:
    DifferenceMeter all_, judged_;
    std::uint64_t weighted_ = 0, threshold_ = 0;
    std::vector<std::string> evaluation_;
    std::vector<float> perPoint_;
    std::vector<Vec3d> worstPoints_;
    bool drawable_ = true;
};

/// The mesh under the points of a comparison: faces, and the file that they come from.
struct ComparedMesh {
    std::vector<OutputMesh> meshes;
    bool perVertex = false; ///< the frames hold vertices, in the order of the meshes, not joined points
    std::size_t points = 0; ///< joined points
    bool zUp = false;
};

std::unique_ptr<Comparison> compareCaches(const CompareJob& job, CompareReport& report);

/// Captures are replayed, answers are read. With one file: it must be a capture. The mesh is the capture's
/// own when it has one with as many vertices as there are points.
std::unique_ptr<Comparison> compareAnswers(const CompareJob& job, CompareReport& report, ComparedMesh& mesh);

std::unique_ptr<Comparison> compareCharacter(const CompareJob& job, CompareReport& report,
                                             ComparedMesh& mesh);

/// Draws the differences. Throws HostError kUsage when there is no mesh for them.
void drawComparison(const CompareJob& job, const Comparison& comparison, const CompareReport& report,
                    const ComparedMesh& mesh);

} // namespace talvisora::host
