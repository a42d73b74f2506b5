// SPDX-License-Identifier: Apache-2.0
// The files that a run over frames writes: point caches, .obj frames, .glb, chosen by extension. All are
// opened before the first evaluation, so that a run never ends in "cannot write" after minutes of work.
#pragma once

#include "host/character/character.h"
#include "host/writers/output_mesh.h"

#include <memory>
#include <string>
#include <vector>

namespace talvisora::host {

/// The character's meshes as the writers and the renderer take them.
std::vector<OutputMesh> outputMeshes(const Character& character);

/// Refuses what no writer can take: HostError kUsage for a folder, an unknown extension, or the same file
/// named twice. Cheap; to be called before anything is read.
void checkOutputNames(const std::vector<std::string>& paths);

/// Refuses a picture that is not named .png; an empty name is none at all.
void checkPictureName(const std::string& path);

/// Refuses two names for one file, however they are spelled: of two outputs one would be lost, and an output
/// over the character or the rig file would destroy it. HostError kUsage. All but the character may be empty.
void checkFilesApart(const std::string& character, const std::vector<std::string>& outputs,
                     const std::string& picture, const std::string& capture, const std::string& rig = {});

/// The same where a picture may move: .png or .webp.
void checkStillOrMovingName(const std::string& path);

/// Whether the name asks for a moving picture (.webp).
bool isMovingPicture(const std::string& path);

/// Opens and drops a temporary beside the file: HostError kOutput when nothing can be written there.
void checkWritable(const std::string& path);

/// One output file in the making.
class FrameOutput {
public:
    virtual ~FrameOutput() = default;
    /// `filePoints`: the joined points in the file's unit.
    virtual void addFrame(int frame, const std::vector<Vec3d>& filePoints) = 0;
    virtual void close() = 0;
    /// What was written, one path per file.
    virtual std::vector<std::string> written() const = 0;
};

struct FrameOutputContext {
    const Character* character = nullptr;
    std::vector<OutputMesh> meshes;
    std::vector<Vec3d> restPoints; ///< joined, file's unit
    std::vector<int> frames;       ///< in the order in which they will be added; at least one
    double fps = 24.0;
    std::string clipName;
    bool zUp = false;
};

/// The writer for the path's extension. The context must outlive it.
std::unique_ptr<FrameOutput> openOutput(const std::string& path, const FrameOutputContext& context);

} // namespace talvisora::host
