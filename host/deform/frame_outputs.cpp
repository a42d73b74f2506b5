// SPDX-License-Identifier: Apache-2.0
#include "host/deform/frame_outputs.h"

#include "host/writers/atomic_file.h"
#include "host/writers/glb_writer.h"
#include "host/writers/obj_writer.h"
#include "host/writers/pc2_writer.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

namespace talvisora::host {

namespace {

std::string extensionOf(const std::string& path) {
    std::string extension = std::filesystem::path(path).extension().string();
    for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return extension;
}

// The even step between the frames, 1 when they have none.
float frameStep(const std::vector<int>& frames) {
    if (frames.size() < 2) return 1.0f;
    const int step = frames[1] - frames[0];
    for (std::size_t k = 2; k < frames.size(); ++k)
        if (frames[k] - frames[k - 1] != step) return 1.0f;
    return step > 0 ? static_cast<float>(step) : 1.0f;
}

// The frames' times from the first one on. Empty when frames go back or repeat: the keys of an animation must
// rise, so such frames just follow each other.
std::vector<double> risingTimes(const std::vector<int>& frames, double fps) {
    const auto notRising = [](int a, int b) { return a >= b; };
    if (std::adjacent_find(frames.begin(), frames.end(), notRising) != frames.end()) return {};
    std::vector<double> times;
    for (const int frame : frames) times.push_back((frame - frames.front()) / fps);
    return times;
}

class Pc2Output : public FrameOutput {
public:
    Pc2Output(const std::string& path, const FrameOutputContext& context)
        : path_(path),
          meshes_(context.meshes),
          writer_(path, vertexCount(context.meshes), context.frames.size(),
                  static_cast<float>(context.frames.front()), frameStep(context.frames)) {}
    void addFrame(int, const std::vector<Vec3d>& filePoints) override {
        splitToVertices(meshes_, filePoints, vertices_);
        writer_.addFrame(vertices_);
    }
    void close() override { writer_.close(); }
    std::vector<std::string> written() const override { return {path_}; }

private:
    std::string path_;
    const std::vector<OutputMesh>& meshes_;
    Pc2Writer writer_;
    std::vector<Vec3d> vertices_;
};

class ObjOutput : public FrameOutput {
public:
    ObjOutput(const std::string& path, const FrameOutputContext& context)
        : pattern_(path), meshes_(context.meshes) {
        checkWritable(framePath(path, context.frames.front()));
    }
    void addFrame(int frame, const std::vector<Vec3d>& filePoints) override {
        const std::string path = framePath(pattern_, frame);
        writeObj(path, meshes_, filePoints);
        written_.push_back(path);
    }
    void close() override {}
    std::vector<std::string> written() const override { return written_; }

private:
    std::string pattern_;
    const std::vector<OutputMesh>& meshes_;
    std::vector<std::string> written_;
};

class GlbOutput : public FrameOutput {
public:
    GlbOutput(const std::string& path, const FrameOutputContext& context)
        : path_(path),
          writer_(path, context.meshes, context.restPoints, context.frames.size(), options(context)) {}
    void addFrame(int, const std::vector<Vec3d>& filePoints) override { writer_.addFrame(filePoints); }
    void close() override { writer_.close(); }
    std::vector<std::string> written() const override { return {path_}; }

private:
    static GlbOptions options(const FrameOutputContext& context) {
        GlbOptions options;
        options.metresPerUnit = context.character->metresPerFileUnit;
        options.framesPerSecond = context.fps;
        options.keySeconds = risingTimes(context.frames, context.fps);
        options.zUp = context.zUp;
        if (!context.clipName.empty()) options.animationName = context.clipName;
        return options;
    }
    std::string path_;
    GlbWriter writer_;
};

} // namespace

std::vector<OutputMesh> outputMeshes(const Character& character) {
    std::vector<OutputMesh> meshes;
    for (const CharacterMesh& mesh : character.meshes) {
        OutputMesh output;
        output.name = mesh.name;
        output.pointOfVertex = mesh.pointOfVertex;
        output.faceCounts.assign(mesh.triangles.size(), 3);
        for (const Triangle& triangle : mesh.triangles)
            output.faceVertices.insert(output.faceVertices.end(), triangle.begin(), triangle.end());
        for (const auto& uv : mesh.uvs)
            output.uvs.push_back({static_cast<float>(uv[0]), static_cast<float>(uv[1])});
        meshes.push_back(std::move(output));
    }
    return meshes;
}

void checkOutputNames(const std::vector<std::string>& paths) {
    for (std::size_t k = 0; k < paths.size(); ++k) {
        const std::string& path = paths[k];
        const std::string extension = extensionOf(path);
        if (path.empty() || path.back() == '/' || path.back() == '\\')
            throw HostError(ExitCode::kUsage,
                            "-o " + path + ": a folder; name a file ending in .pc2, .obj or .glb");
        if (extension != ".pc2" && extension != ".obj" && extension != ".glb")
            throw HostError(ExitCode::kUsage, "-o " + path + ": unknown kind of output '" + extension +
                                                  "'; use .pc2, .obj or .glb");
        if (std::count(paths.begin(), paths.end(), path) > 1)
            throw HostError(ExitCode::kUsage, "-o " + path + ": named twice");
    }
}

void checkPictureName(const std::string& path) {
    if (!path.empty() && extensionOf(path) != ".png")
        throw HostError(ExitCode::kUsage,
                        "--picture " + path + ": pictures are PNG files; use the extension .png");
}

bool isMovingPicture(const std::string& path) {
    return extensionOf(path) == ".webp";
}

void checkStillOrMovingName(const std::string& path) {
    if (!path.empty() && extensionOf(path) != ".png" && !isMovingPicture(path))
        throw HostError(ExitCode::kUsage,
                        "--picture " + path + ": use the extension .png, or .webp for a picture that moves");
}

void checkFilesApart(const std::string& character, const std::vector<std::string>& outputs,
                     const std::string& picture, const std::string& capture, const std::string& rig) {
    namespace fs = std::filesystem;
    struct Named {
        std::string option, path;
    };
    std::vector<Named> files = {{"the character", character}};
    if (!rig.empty()) files.push_back({"--rig", rig});
    for (const std::string& path : outputs) files.push_back({"-o", path});
    if (!picture.empty()) files.push_back({"--picture", picture});
    if (!capture.empty()) files.push_back({"--capture", capture});
    const auto same = [](const std::string& a, const std::string& b) {
        std::error_code error;
        if (fs::equivalent(a, b, error)) return fs::is_regular_file(a, error); // a device may take several
        return !fs::exists(a, error) && fs::weakly_canonical(a, error) == fs::weakly_canonical(b, error);
    };
    for (std::size_t k = 1; k < files.size(); ++k)
        for (std::size_t other = 0; other < k; ++other)
            if (same(files[k].path, files[other].path))
                throw HostError(ExitCode::kUsage, files[k].option + " " + files[k].path +
                                                      ": the same file as " + files[other].option + " '" +
                                                      files[other].path +
                                                      "'; give each file a name of its own");
}

void checkWritable(const std::string& path) {
    std::error_code error;
    const auto kind = std::filesystem::status(path, error).type();
    // Opening a device or a pipe only to look would already be a visit.
    if (kind != std::filesystem::file_type::not_found && kind != std::filesystem::file_type::regular &&
        kind != std::filesystem::file_type::directory)
        return;
    AtomicFile probe(path);
}

std::unique_ptr<FrameOutput> openOutput(const std::string& path, const FrameOutputContext& context) {
    const std::string extension = extensionOf(path);
    if (extension == ".pc2") return std::make_unique<Pc2Output>(path, context);
    if (extension == ".obj") return std::make_unique<ObjOutput>(path, context);
    return std::make_unique<GlbOutput>(path, context);
}

} // namespace talvisora::host
