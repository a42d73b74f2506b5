#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Checks who includes whom: every #include of our own folders against the table of arrows below.

A room may include what its row names and its own files, nothing else. An include that nobody knows is an
error too, so that a new library or a new folder gets its row on purpose. Standard library only.

    check_arrows.py [FOLDER]     check the tree under FOLDER (default: the repository of this script)
    check_arrows.py --self-test  check the checker on small trees of right and wrong includes
"""
import os
import re
import sys
import tempfile

MODULE = "deformers/talvisora"

# What a row may include beside its own room: rooms ("kernels"), single files ("kernels/records.h"), and
# outside families ("std", "tbb", "maya", "clew" and the other libraries named in LIBRARIES).
ARROWS = {
    "include/maths": {"std"},
    "include": {"std", "maya", "include/maths"},
    "kernels": {"std", "tbb", "include/maths", "variants", "shared with variants"},
    "variants": {"hermetic", "shared with variants"},
    "shared with variants": {"hermetic"},
    "node": {"std", "maya", "include/maths", "include", "kernels/records.h", "kernels/active_pairs.h",
             "kernels/curve.h"},
    "rig": {"std", "include/maths", "include", "kernels", "node"},
    "evaluate": {"std", "tbb", "maya", "clew", "include/maths", "include", "kernels", "node", "rig"},
    "commands": {"std", "tbb", "maya", "include/maths", "include", "kernels", "node", "rig/control_polygon.h"},
    "draw": {"std", "maya", "include/maths"},
    "overlay": {"std", "maya", "include/maths", "include", "kernels", "node", "rig", "evaluate", "draw"},
    "front door": {"std", "maya", "include", "node", "evaluate", "commands"},
    "headless/maya": {"std", "maya", "clew", "headless/headless_api.h", "headless/array_storage.h"},
    "headless/clew": {"std", "opencl", "headless/headless_api.h"},
    "headless": {"std", "maya", "clew", "headless/maya", "headless/clew", "opencl"},
    "host": {"std", "tbb", "maya", "clew", "include/maths", "include", "headless/scene",
             "headless/opencl", "kernels/cpu_features.h", "kernels/dispatch.h", "nlohmann", "cli", "assimp", "gltf", "stb",
             "webp"},
}
INSIDE = {"include/maths", "include", "kernels", "variants", "shared with variants", "node", "rig", "evaluate",
          "commands", "draw", "overlay", "front door", "headless", "headless/maya", "headless/clew", "host"}
for _room in ("tests", "bench"):
    ARROWS[_room] = INSIDE | {"std", "tbb", "maya", "clew", "opencl", "nlohmann", "assimp", "gltf", "stb",
                              "webp", "gtest", "rapidcheck", "benchmark", "hermetic"}
ARROWS["bench"] |= {"nanoflann", "tests"}  # a yardstick; the literal form is another

# Single files that may include more than their room: the two headers that speak of device objects.
FILES = {"include/gpu.h": {"clew"}, "include/deform_records.h": {"clew"}}

# Sources compiled once per processor variant, with flags of their own. An ordinary inline function or template
# compiled there can be the one copy the linker keeps, wide instructions included; so they see no header that
# has any. The records and tables that both sides name are plain enough for them.
VARIANT_FILE = re.compile(MODULE + r"/kernels/(variant_\w+\.cpp|lanes_\w+\.h|\w+_body\.h)$")
SHARED_FILE = re.compile(MODULE + r"/kernels/(records|block_tables|variant_table)\.h$")
HERMETIC = {"immintrin.h", "emmintrin.h", "smmintrin.h", "tmmintrin.h", "stddef.h", "stdint.h", "cstddef",
            "cstdint"}

LIBRARIES = {  # first folder (or whole name) of an angle include -> family
    "tbb": "tbb", "oneapi": "tbb", "maya": "maya", "clew": "clew", "CL": "opencl", "nlohmann": "nlohmann",
    "CLI": "cli", "assimp": "assimp", "tiny_gltf.h": "gltf", "tinygltf": "gltf", "stb": "stb", "gtest": "gtest",
    "webp": "webp", "gmock": "gtest", "rapidcheck": "rapidcheck", "rapidcheck.h": "rapidcheck", "benchmark": "benchmark",
    "nanoflann.hpp": "nanoflann",
}
STANDARD = set("""
algorithm any array atomic bitset cassert cctype cerrno cfenv cfloat charconv chrono cinttypes climits clocale
cmath complex condition_variable csetjmp csignal cstdarg cstddef cstdint cstdio cstdlib cstring ctime cwchar
deque exception execution filesystem forward_list fstream functional future initializer_list iomanip ios iosfwd
iostream istream iterator limits list locale map memory memory_resource mutex new numeric optional ostream queue
random ratio regex scoped_allocator set shared_mutex sstream stack stdexcept streambuf string string_view
system_error thread tuple type_traits typeindex typeinfo unordered_map unordered_set utility valarray variant
vector
assert.h ctype.h errno.h fenv.h float.h inttypes.h limits.h locale.h math.h signal.h stdarg.h stddef.h stdint.h
stdio.h stdlib.h string.h time.h
cpuid.h cxxabi.h dirent.h dlfcn.h fcntl.h intrin.h io.h poll.h process.h sched.h unistd.h windows.h
""".split()) | {"x86intrin.h"} | HERMETIC

SEARCHED = ("include", MODULE, "headless", "tests", "bench", ".")
FOLDERS = ("include", "deformers", "headless", "host", "tests", "bench", "python")
SOURCES = (".h", ".hpp", ".cpp", ".cc", ".c", ".inl")
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')


def room_of(path):
    """The row of ARROWS that a repository path belongs to, or None."""
    if path.startswith("include/maths/"):
        return "include/maths"
    if path.startswith("include/"):
        return "include"
    if VARIANT_FILE.match(path):
        return "variants"
    if SHARED_FILE.match(path):
        return "shared with variants"
    if path == MODULE + "/talvisora.cpp":
        return "front door"
    if path.startswith(MODULE + "/"):
        return path.split("/")[2]
    for room in ("headless/maya", "headless/clew"):
        if path.startswith(room + "/"):
            return room
    return path.split("/")[0]


def names_of(path):
    """Every name in a row that lets this file in: its room, the file itself, and its part of headless."""
    room = room_of(path)
    names = {room}
    if path.startswith(MODULE + "/"):
        names.add(path[len(MODULE) + 1:])
        if room == "shared with variants":
            names.add("kernels")  # for everybody else they are headers of the kernels like the others
    if path.startswith("headless/"):
        names.add("/".join(path.split("/")[:2]))
    return names


def family_of(name):
    """Families of an include that is no file of ours; empty when nobody knows it."""
    families = set()
    if name in STANDARD or name.startswith(("sys/", "experimental/")):
        families.add("std")
    if name in HERMETIC:
        families.add("hermetic")
    first = name.split("/")[0]
    if first in LIBRARIES:
        families.add(LIBRARIES[first])
    elif name.startswith("stb_"):
        families.add("stb")
    return families


def resolve(root, source, quote, name):
    """Repository path of an included file of ours, or None. Angle includes of the Maya and OpenCL loader
    headers stay outside names, although the stand-in lies in the tree: the module must not tell them apart."""
    if quote == "<":
        return None
    candidates = [os.path.join(os.path.dirname(source), name)] + [os.path.join(f, name) for f in SEARCHED]
    for candidate in candidates:
        path = os.path.normpath(candidate).replace(os.sep, "/")
        if not path.startswith("..") and os.path.isfile(os.path.join(root, path)):
            return path
    return None


def check_file(root, source):
    room = room_of(source)
    if room not in ARROWS:
        return ["%s: its folder has no row in the table of arrows" % source]
    allowed = ARROWS[room] | FILES.get(source, set())
    faults = []
    with open(os.path.join(root, source), encoding="utf-8") as text:
        for number, line in enumerate(text, 1):
            match = INCLUDE.match(line)
            if not match:
                continue
            quote, name = match.groups()
            target = resolve(root, source, quote, name)
            if target:
                names = names_of(target)
            else:
                names = family_of(name)
            where = "%s:%d: " % (source, number)
            if not names:
                faults.append(where + "'%s' is no known library, and no file of ours by that name in quotes" % name)
            elif room not in names and not names & allowed:
                faults.append(where + "%s must not include '%s' (%s)" % (room, name, ", ".join(sorted(names))))
    return faults


def check_tree(root):
    """Faults of all sources under root, and how many sources were read."""
    faults, count = [], 0
    for folder in FOLDERS:
        for at, folders, files in os.walk(os.path.join(root, folder)):
            folders.sort()
            for file in sorted(files):
                if file.endswith(SOURCES):
                    source = os.path.relpath(os.path.join(at, file), root).replace(os.sep, "/")
                    faults += check_file(root, source)
                    count += 1
    return faults, count


# The self-test's trees: path -> text; and the paths that must be found at fault.
BASE = {
    "include/maths/vec3.h": "#include <cmath>\n",
    "include/fault.h": "#include <string>\n",
    "include/gpu.h": '#include <clew/clew.h>\n#include "fault.h"\n',
    MODULE + "/kernels/records.h": "#include <stdint.h>\n",
    MODULE + "/kernels/curve.h": '#include "maths/vec3.h"\n',
    MODULE + "/kernels/dispatch.h": '#include "kernels/records.h"\n',
    MODULE + "/kernels/lanes_avx.h": "#include <immintrin.h>\n",
    MODULE + "/rig/control_polygon.h": '#include "kernels/curve.h"\n',
    MODULE + "/rig/bends.h": '#include "rig/control_polygon.h"\n',
    "headless/maya/MString.h": "#include <string>\n",
    "headless/scene/scene.h": "#include <maya/MString.h>\n",
    "host/replay.h": '#include "scene/scene.h"\n#include <nlohmann/json.hpp>\n',
}
GOOD = {
    MODULE + "/evaluate/cpu_driver.cpp": '#include "rig/bends.h"\n#include <maya/MString.h>\n#include <tbb/tbb.h>\n',
    MODULE + "/kernels/variant_avx.cpp": '#include "kernels/lanes_avx.h"\n#include "records.h"\n',
    MODULE + "/commands/check.cpp": '#include "rig/control_polygon.h"\n',
    "tests/rig/bends_test.cpp": '#include "rig/bends.h"\n#include <gtest/gtest.h>\n#include "scene/scene.h"\n',
}
BAD = [
    ("include/maths/back.h", '#include "fault.h"\n', "a smaller room reaches up"),
    ("include/attributes.h", "#include <clew/clew.h>\n", "OpenCL outside its files"),
    (MODULE + "/kernels/talk.cpp", "#include <maya/MString.h>\n", "Maya in the kernels"),
    (MODULE + "/kernels/variant_sse2.cpp", "#include <vector>\n", "templates in a variant"),
    (MODULE + "/kernels/variant_table.h", "#include <functional>\n", "templates in what variants share"),
    (MODULE + "/kernels/block_tables.h", '#include "kernels/curve.h"\n', "an ordinary header in what they share"),
    (MODULE + "/kernels/curve_body.h", '#include "kernels/curve.h"\n', "an ordinary header in a body"),
    (MODULE + "/kernels/peek.cpp", '#include "rig/bends.h"\n', "kernels reach right"),
    (MODULE + "/rig/talk.cpp", "#include <maya/MString.h>\n", "Maya in the rig"),
    (MODULE + "/rig/parallel.cpp", "#include <tbb/parallel_for.h>\n", "TBB in the rig"),
    (MODULE + "/commands/reset.cpp", '#include "rig/bends.h"\n', "commands see one file of rig only"),
    (MODULE + "/node/my_node.cpp", '#include "kernels/dispatch.h"\n', "node sees the records of kernels only"),
    (MODULE + "/draw/peek.cpp", '#include "kernels/curve.h"\n', "the drawing room sees the maths only"),
    (MODULE + "/evaluate/peek.cpp", '#include "host/replay.h"\n', "the module names the host"),
    (MODULE + "/evaluate/scene.cpp", '#include "scene/scene.h"\n', "the module names the stand-in"),
    ("headless/scene/peek.cpp", '#include "fault.h"\n', "the stand-in knows include/"),
    ("host/peek.cpp", '#include "kernels/records.h"\n', "the host looks into the module"),
    ("host/maya.cpp", '#include "headless/maya/MString.h"\n', "the host by-passes <maya/>"),
    ("host/unknown.cpp", "#include <boost/any.hpp>\n", "a library without a row"),
    ("host/lost.cpp", '#include "nowhere.h"\n', "a file that is not there"),
    ("python/module.cpp", "#include <string>\n", "a folder without a row"),
]


def write_tree(root, files):
    for path, text in files.items():
        os.makedirs(os.path.join(root, os.path.dirname(path)), exist_ok=True)
        with open(os.path.join(root, path), "w", encoding="utf-8") as file:
            file.write(text)


def self_test():
    wrong = []
    with tempfile.TemporaryDirectory() as root:
        write_tree(root, {**BASE, **GOOD})
        faults, _ = check_tree(root)
        wrong += ["a right include was refused: " + fault for fault in faults]
    for path, text, why in BAD:
        with tempfile.TemporaryDirectory() as root:
            write_tree(root, {**BASE, path: text})
            faults, _ = check_tree(root)
            if len(faults) != 1 or not faults[0].startswith(path):
                wrong.append("not caught (%s): %s includes %s" % (why, path, text.strip()))
    print("\n".join(wrong) if wrong else "arrows: self-test passed (%d wrong includes caught)" % len(BAD))
    return 1 if wrong else 0


def main(arguments):
    if arguments == ["--self-test"]:
        return self_test()
    if len(arguments) > 1 or (arguments and arguments[0].startswith("-")):
        print(__doc__, file=sys.stderr)
        return 2
    root = arguments[0] if arguments else os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    faults, count = check_tree(root)
    if count == 0:
        faults = ["%s: no sources found" % root]
    for fault in faults:
        print(fault)
    print("arrows: %d sources, %d faults" % (count, len(faults)))
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
