// SPDX-License-Identifier: Apache-2.0
// The built module as a foreign host meets it: loaded by path, found by plain names, driven through the
// node's operations.
#include "gr_node.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <dlfcn.h>
#include <memory>
#include <set>
#include <string>

namespace {

const std::string kModule = std::string(TALVISORA_BIN_DIR) + "/libtalvisora.so";

struct CloseLibrary {
    void operator()(void* library) const { dlclose(library); }
};

class LoadedModule : public testing::Test {
protected:
    // Kept loaded on purpose: threads of the pool may still be on their way out of it.
    void SetUp() override {
        library.reset(dlopen(kModule.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE));
        ASSERT_TRUE(library) << dlerror();
    }
    std::unique_ptr<void, CloseLibrary> library;
};

TEST(Exports, AreExactlyTheDocumentedNames) {
    const std::string command = "nm -D --defined-only --format=posix '" + kModule + "' 2>&1";
    std::FILE* pipe = popen(command.c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    std::set<std::string> names;
    char line[4096];
    while (std::fgets(line, sizeof line, pipe)) {
        const std::string text = line;
        names.insert(text.substr(0, text.find(' ')));
    }
    ASSERT_EQ(pclose(pipe), 0);
    EXPECT_EQ(names, (std::set<std::string>{"create", "help", "resetParams", "resetWeights",
                                            "checkFloatingPoints"}));
}

TEST_F(LoadedModule, MakesNodesThatDeclareTheirAttributes) {
    auto* create = reinterpret_cast<GrNode* (*)()>(dlsym(library.get(), "create"));
    ASSERT_NE(create, nullptr);
    const std::unique_ptr<GrNode> node(create());
    ASSERT_TRUE(node);
    std::vector<AttributeDescriptor> attributes(1); // the node appends and touches nothing that is there
    node->declareAttributes(attributes);
    ASSERT_EQ(attributes.size(), 11u);
    EXPECT_EQ(attributes[1].longName, "talvisora__hier_name");
    EXPECT_EQ(attributes[10].children.size(), 8u);
    EXPECT_EQ(attributes[10].children[7].children.size(), 14u);
}

TEST_F(LoadedModule, OffersTheGpuPath) {
    auto* create = reinterpret_cast<GrNode* (*)()>(dlsym(library.get(), "create"));
    const std::unique_ptr<GrNode> node(create());
    ValueMap attributes;
    GpuDeformData data;
    EXPECT_EQ(node->deformGpu(attributes, data), 1); // nothing to read, and a message about that
    node->releaseGpu();
}

TEST_F(LoadedModule, EveryCommandThrowsWithoutTheKeyThatAllNeed) {
    for (const char* name : {"help", "resetParams", "resetWeights", "checkFloatingPoints"}) {
        auto* command = reinterpret_cast<int (*)(ValueMap&)>(dlsym(library.get(), name));
        ASSERT_NE(command, nullptr) << name;
        ValueMap arguments;
        try {
            command(arguments);
            FAIL() << name << " did not throw";
        } catch (const std::out_of_range& error) {
            EXPECT_STREQ(error.what(), "invalid map<K, T> key");
        }
    }
}

TEST_F(LoadedModule, HelpNamesTheCommandsThatAreExported) {
    auto* help = reinterpret_cast<int (*)(ValueMap&)>(dlsym(library.get(), "help"));
    ASSERT_NE(help, nullptr);
    ValueMap arguments;
    auto* create = reinterpret_cast<GrNode* (*)()>(dlsym(library.get(), "create"));
    const std::unique_ptr<GrNode> node(create());
    int context = 0;
    const auto pointer = [](void* value) {
        auto data = std::make_shared<GrPtr>();
        data->value = value;
        return data;
    };
    arguments = {{"HELP", std::make_shared<GrBoolean>()},   {"NODE_NAME", makeText("n")},
                 {"GR_NODE_PTR", pointer(node.get())},      {"GET_ATTRIBUTES_PTR", pointer(&context)},
                 {"RUN_ATTRIBUTES_PTR", pointer(&context)}, {"DEFORM_ATTRIBUTES_PTR", pointer(&context)}};
    EXPECT_EQ(help(arguments), 0);
    const auto output = castTo<GrString>(arguments["OUTPUT"]);
    ASSERT_TRUE(output);
    EXPECT_EQ(output->value, "Commands: checkFloatingPoints, resetWeights, resetParams");
}

} // namespace
