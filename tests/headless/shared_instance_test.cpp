// SPDX-License-Identifier: Apache-2.0
// A module that was loaded at run time and the host that loaded it see one scene and one message log.
#include "scene/message_log.h"
#include "scene/scene.h"

#include <gtest/gtest.h>

#if defined(__linux__)
#include <dlfcn.h>

namespace {

TEST(SharedInstance, LoadedModuleSeesTheHostsNodesAndTheHostItsMessages) {
    headless::clearMessages();
    const MObject node = headless::createNode("talvisora", "body");
    void* const module = dlopen(TALVISORA_BIN_DIR "/libtest_speaking_module.so", RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(module, nullptr) << dlerror();
    const auto sayNameOf = reinterpret_cast<void (*)(const MObject&)>(dlsym(module, "sayNameOf"));
    ASSERT_NE(sayNameOf, nullptr);
    sayNameOf(node);
    sayNameOf(MObject::kNullObj);
    const auto shown = headless::takeMessages();
    ASSERT_EQ(shown.size(), 2u);
    EXPECT_EQ(shown[0].text, "body: spoken");
    EXPECT_EQ(shown[1].text, ": spoken");
    EXPECT_TRUE(headless::deleteNode(node));
    dlclose(module);
}

} // namespace

#endif
