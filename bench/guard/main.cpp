// SPDX-License-Identifier: Apache-2.0
// Fixed input for counting instructions: one thread, one variant, a few hundred thousand pairs through the
// point stage, and nothing else between the two marks. The counts do not depend on what else the machine
// does.
#include <tbb/task_arena.h>

#include <cstdio>
#include <cstring>

#include "bench/scene.h"

using namespace talvisora;
using namespace talvisora::bench;

/// What the counter looks for; kept out of line on purpose.
extern "C" __attribute__((noinline)) void talvisoraCounted(Scene* scene, const VariantTable* variant) {
    scene->pointStage(*variant);
}

int main(int argc, char** argv) {
    const bool tweaks = argc > 1 && std::strcmp(argv[1], "tweaks") == 0;
    const bool blocks = argc > 1 && std::strcmp(argv[1], "blocks") == 0;
    const bool plain = argc > 1 && std::strcmp(argv[1], "plain") == 0;
    if (argc != 2 || !(tweaks || blocks || plain)) {
        std::fprintf(stderr, "usage: talvisora_guard plain|tweaks|blocks\n");
        return 2;
    }
    // The list of pairs depends on the number of threads that its tiles are made for.
    tbb::task_arena one(1);
    one.execute([&] {
        Scene scene({40000, blocks ? 8 : 1, tweaks});
        scene.restore();
        talvisoraCounted(&scene, &variantTable(Variant::kAvx));
        std::printf("%zu points\n", scene.pointCount());
    });
    return 0;
}
