// SPDX-License-Identifier: Apache-2.0
// The tree with leaves of ten samples, the library's own choice.
#include "bench/commands/tree_search.h"

#if __has_include(<nanoflann.hpp>)
#include <nanoflann.hpp>

namespace talvisora::bench {

namespace {

struct SampleCloud {
    const std::vector<CurveSample>& samples;
    std::size_t kdtree_get_point_count() const { return samples.size(); }
    double kdtree_get_pt(std::size_t i, std::size_t axis) const {
        return axis == 0 ? samples[i].x : axis == 1 ? samples[i].y : samples[i].z;
    }
    template <class Box>
    bool kdtree_get_bbox(Box&) const {
        return false;
    }
};
using Tree = nanoflann::KDTreeSingleIndexAdaptor<nanoflann::L2_Simple_Adaptor<double, SampleCloud>,
                                                 SampleCloud, 3, std::uint32_t>;

} // namespace

bool hasTree() {
    return true;
}

void treeSearch(const std::vector<CurveSample>& samples, const Vec3d* points, std::size_t count,
                std::int32_t* indices) {
    const SampleCloud cloud{samples};
    const Tree tree(3, cloud, nanoflann::KDTreeSingleIndexAdaptorParams(10));
    for (std::size_t i = 0; i < count; ++i) {
        std::uint32_t index = 0;
        double distance = 0.0;
        tree.knnSearch(&points[i].x, 1, &index, &distance);
        indices[i] = static_cast<std::int32_t>(index);
    }
}

} // namespace talvisora::bench

#else

namespace talvisora::bench {

bool hasTree() {
    return false;
}

void treeSearch(const std::vector<CurveSample>&, const Vec3d*, std::size_t, std::int32_t*) {}

} // namespace talvisora::bench

#endif
