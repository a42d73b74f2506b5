// SPDX-License-Identifier: Apache-2.0
// glTF 2.0 binary: the rest meshes with one morph target per frame and an animation of the targets' weights.
// Frames are streamed: the JSON chunk stands in front of the data but knows their bounds only at the end, so
// its room is reserved first and filled last. A library that builds the document in memory cannot do that;
// the container is a dozen lines, so it is written here and the JSON comes from the JSON library.
#pragma once

#include "host/writers/atomic_file.h"
#include "host/writers/output_mesh.h"
#include "maths/vec3.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace talvisora::host {

struct GlbOptions {
    /// glTF is in metres: what one unit of the points is worth, e.g. 0.01 for centimetres.
    double metresPerUnit = 1.0;
    /// Frames per second; the first frame added is at time 0.
    double framesPerSecond = 24.0;
    /// The time of each frame in seconds, rising from 0; empty when they follow each other evenly.
    std::vector<double> keySeconds;
    /// Hold each frame until the next instead of moving linearly between them.
    bool stepped = false;
    /// Also store how the normals change (doubles the file); without it a viewer shades every frame as at
    /// rest.
    bool morphNormals = true;
    /// The points are z-up; glTF is y-up, so a turn goes into the root node.
    bool zUp = false;
    std::string animationName = "deformed";
};

/// Writes one .glb frame by frame.
/// Failures are HostError (kOutput); the file appears only with close(). Threads: one object, one thread.
class GlbWriter {
public:
    /// meshes         at least one vertex and one triangle in all; copied in part, need not outlive the call
    /// restPoints     positions of the undeformed mesh, one per joined point, in the caller's unit
    /// frameCount     how many frames will be added; 0 writes the rest mesh alone
    /// Fails at once when the file would pass 4 GiB, the most a glTF binary can have.
    GlbWriter(std::string path, std::vector<OutputMesh> meshes, const std::vector<Vec3d>& restPoints,
              std::size_t frameCount, const GlbOptions& options);

    /// Appends the next frame: one position per joined point, same unit as the rest points.
    void addFrame(const std::vector<Vec3d>& points);

    /// Completes the file. Fails when not exactly `frameCount` frames were added.
    void close();

private:
    /// Smallest and largest coordinates of one stored array: glTF wants them beside POSITION data.
    struct Range {
        std::array<float, 3> low;
        std::array<float, 3> high;
    };
    /// Where one mesh's rest data lie in the binary chunk; offsets from its start, in bytes.
    struct MeshLayout {
        std::size_t vertices = 0, indices = 0;
        std::uint64_t positionOffset = 0, normalOffset = 0, uvOffset = 0, indexOffset = 0;
        std::uint64_t vertexOffset = 0; ///< first vertex of this mesh among all, for the targets
        Range restRange{};
    };

    float keyTime(std::size_t frame) const;
    void layOut();
    void writeRest(const std::vector<Vec3d>& restPoints);
    std::string document(const std::vector<Range>& targetRanges) const;
    Range putVectors(const OutputMesh& mesh, const std::vector<Vec3d>& vectors);

    AtomicFile file_;
    std::vector<OutputMesh> meshes_;
    GlbOptions options_;
    std::size_t frameCount_, pointCount_;
    std::size_t framesWritten_ = 0;
    std::vector<MeshLayout> layouts_;
    std::uint64_t targetsOffset_ = 0, frameBytes_ = 0, timesOffset_ = 0, weightsOffset_ = 0, binaryBytes_ = 0;
    std::size_t jsonBytes_ = 0;
    std::vector<Vec3d> restPositions_, restNormals_, deltas_, normals_; // metres; rounded to float as stored
    std::vector<Range> targetRanges_;                                   // frame after frame, mesh after mesh
    std::vector<std::uint8_t> bytes_;
};

} // namespace talvisora::host
