// SPDX-License-Identifier: Apache-2.0
// A software renderer for shaded pictures of characters: z-buffer, two-sided, soft light from the camera's
// side, supersampled edges. Needs no display; the same input gives the same bytes.
#pragma once

#include "host/picture/image.h"
#include "host/picture/occlusion.h"
#include "host/writers/output_mesh.h"
#include "maths/vec3.h"

#include <string>
#include <vector>

namespace talvisora::host {

/// A box around points; empty until something was added.
struct Bounds {
    Vec3d low{1.0, 1.0, 1.0};
    Vec3d high{-1.0, -1.0, -1.0};
    bool empty() const { return low.x > high.x; }
    /// Points that are not finite are passed over.
    void add(const std::vector<Vec3d>& points);
};

/// From where to look. Angles in degrees. Yaw 0 is the front: towards +z with y up, towards −y with z up; 90
/// is the character's left side (+x). Pitch is how far the camera is raised.
struct View {
    double yaw = 60.0;
    double pitch = 15.0;
    Vec3d up{0.0, 1.0, 0.0}; ///< {0, 1, 0} or {0, 0, 1}; anything else counts as y up
};

inline View frontView(const Vec3d& up = {0.0, 1.0, 0.0}) {
    return {0.0, 5.0, up};
}
inline View threeQuarterView(const Vec3d& up = {0.0, 1.0, 0.0}) {
    return {60.0, 15.0, up};
}
/// "front", "side" (the character's left), "back", "three-quarter" (front left) or "three-quarter-back" (back
/// right); HostError kUsage for anything else.
View viewNamed(const std::string& name, const Vec3d& up = {0.0, 1.0, 0.0});

/// In pixels.
struct PictureSize {
    int width = 0, height = 0;
};
/// "300x230", each from 40 to 4000; HostError kUsage for anything else.
PictureSize pictureSizeNamed(const std::string& text);

/// A perspective camera. Use one for all frames of a picture, so that they can be compared.
struct Camera {
    Vec3d eye, right, up, forward; ///< unit axes, right-handed with −forward
    double focal = 3.5;            ///< distance of a picture plane whose height is 2
    Vec3d worldUp{0.0, 1.0, 0.0};
    double ground = 0.0;   ///< height of the lowest point of the box, along worldUp
    double nearest = 1e-3; ///< what is closer to the eye is not drawn
};

/// The closest camera that shows all given points, with a small margin, in a picture of the given shape.
/// Points that are not finite are passed over; points that have no extent, or none at all, count as the unit
/// box round their place.
Camera makeCamera(const std::vector<Vec3d>& points, const View& view, double widthOverHeight);

/// The same for a whole box: looser, but it needs no list of points.
Camera makeCamera(const Bounds& bounds, const View& view, double widthOverHeight);

struct RenderOptions {
    int width = 640;
    int height = 480;
    int samples = 3;       ///< supersampling per axis, 1 to 4
    bool flat = false;     ///< shade faces instead of smooth points
    bool shadow = true;    ///< a soft shade on the ground under the character
    bool occlusion = true; ///< the character hides light from itself: darker folds and far limbs
    Rgb background{238, 238, 236};
    Rgb surface{196, 176, 152}; ///< where no colours are given
    double shading = 1.0;       ///< 1: all light and shade; 0: the bare colours, without any
};

/// Values as colours of the ramp (host/picture/ramp.h). Between points the values are mixed, not the colours,
/// so that every colour in the picture is one of the ramp.
struct DrawnValues {
    std::vector<float> values; ///< one per joined point; what is no number has no value
    /// Values up to this are "not touched" and have the colour of no value.
    float nothing = 0.0f;
    /// Points to be marked by a ring, indices of joined points: filled where the point is seen, hollow where
    /// something hides it. Indices out of range are passed over.
    std::vector<std::uint32_t> marks;
};

/// Meshes seen through one camera, made ready to be drawn several times in other colours. Holds references:
/// points must outlive it. Threads: draw may run at the same time as other draws.
class MeshView {
public:
    /// The meshes at `points` (one per joined point). Fails with HostError (kOutput) on meshes whose indices
    /// are out of range and on pictures of no or more than 64 million samples (width × height × samples²).
    MeshView(const std::vector<OutputMesh>& meshes, const std::vector<Vec3d>& points, const Camera& camera,
             const RenderOptions& options);

    /// Triangles with a point that is not finite, or that cross the camera's nearest plane, are left out.
    /// Fails with HostError (kOutput) when there are not as many colours or values as points.
    /// colours  empty, or one per joined point.
    Image draw(const std::vector<Rgb>& colours) const;
    Image draw(const DrawnValues& values) const;

private:
    Image draw(const std::vector<Rgb>& colours, const DrawnValues* values) const;

    const std::vector<Vec3d>& points_;
    Camera camera_;
    RenderOptions options_;
    std::vector<std::uint32_t> triangles_; ///< of all meshes, as points
    std::vector<Vec3d> normals_;           ///< per point
    std::vector<Openness> open_;           ///< per point
};

/// The same for one picture.
Image renderMeshes(const std::vector<OutputMesh>& meshes, const std::vector<Vec3d>& points,
                   const Camera& camera, const RenderOptions& options, const std::vector<Rgb>& colours = {});

} // namespace talvisora::host
