# SPDX-License-Identifier: Apache-2.0
# talvisora_maya out of a real Maya 2024 devkit, in place of the headless platform of the same target name.
# Included when TALVISORA_MAYA_DEVKIT names the devkitBase folder (the one with include/ and lib/ in it).
file(TO_CMAKE_PATH "${TALVISORA_MAYA_DEVKIT}" MAYA_DEVKIT)

foreach(HEADER maya/MFn.h maya/MTypes.h clew/clew.h)
  if(NOT EXISTS ${MAYA_DEVKIT}/include/${HEADER})
    message(FATAL_ERROR "TALVISORA_MAYA_DEVKIT: ${MAYA_DEVKIT}/include/${HEADER} does not exist. Name the "
      "devkitBase folder of an unpacked Maya 2024 devkit.")
  endif()
endforeach()

file(STRINGS ${MAYA_DEVKIT}/include/maya/MTypes.h MAYA_VERSION_LINE REGEX "^#[ \t]*define[ \t]+MAYA_API_VERSION[ \t]")
string(REGEX MATCH "[0-9]+" MAYA_API_VERSION "${MAYA_VERSION_LINE}")
if(NOT MAYA_API_VERSION MATCHES "^2024[0-9][0-9][0-9][0-9]$")
  message(WARNING "TALVISORA_MAYA_DEVKIT: the devkit says MAYA_API_VERSION \"${MAYA_API_VERSION}\"; the module is "
    "written for Maya 2024, and a module loads only in the release it was built for.")
endif()

add_library(talvisora_maya INTERFACE)
target_include_directories(talvisora_maya SYSTEM INTERFACE ${MAYA_DEVKIT}/include)

foreach(LIBRARY OpenMaya Foundation clew)
  find_library(MAYA_${LIBRARY}_LIBRARY ${LIBRARY} PATHS ${MAYA_DEVKIT}/lib NO_DEFAULT_PATH)
  if(NOT MAYA_${LIBRARY}_LIBRARY)
    message(FATAL_ERROR "TALVISORA_MAYA_DEVKIT: no library ${LIBRARY} in ${MAYA_DEVKIT}/lib. Name it with "
      "-DMAYA_${LIBRARY}_LIBRARY=<file>.")
  endif()
  target_link_libraries(talvisora_maya INTERFACE ${MAYA_${LIBRARY}_LIBRARY})
endforeach()

# Viewport drawing lies in a library of its own, which only the drawing room needs.
find_library(MAYA_OpenMayaRender_LIBRARY OpenMayaRender PATHS ${MAYA_DEVKIT}/lib NO_DEFAULT_PATH)
add_library(talvisora_maya_render INTERFACE)
target_link_libraries(talvisora_maya_render INTERFACE talvisora_maya)
if(MAYA_OpenMayaRender_LIBRARY)
  target_link_libraries(talvisora_maya_render INTERFACE ${MAYA_OpenMayaRender_LIBRARY})
endif()

if(WIN32)
  target_compile_definitions(talvisora_maya INTERFACE NT_PLUGIN REQUIRE_IOSTREAM _BOOL _AFXDLL _MBCS)
  if(NOT CMAKE_MSVC_RUNTIME_LIBRARY)
    set(CMAKE_MSVC_RUNTIME_LIBRARY MultiThreadedDLL) # the release runtime, as Maya has it, in every configuration
  endif()
elseif(APPLE)
  target_compile_definitions(talvisora_maya INTERFACE MAC_PLUGIN OSMac_ OSMac_MachO REQUIRE_IOSTREAM _BOOL)
else()
  # Maya 2024 on Linux is built with the new C++ library ABI.
  target_compile_definitions(talvisora_maya INTERFACE REQUIRE_IOSTREAM _BOOL LINUX LINUX_64
    _GLIBCXX_USE_CXX11_ABI=1)
endif()

# Two different TBBs in one process crash, so Maya's own comes first where the devkit has it.
find_library(MAYA_TBB_LIBRARY NAMES tbb tbb12 PATHS ${MAYA_DEVKIT}/lib NO_DEFAULT_PATH)
if(MAYA_TBB_LIBRARY AND EXISTS ${MAYA_DEVKIT}/include/tbb/parallel_for.h AND NOT TARGET TBB::tbb)
  add_library(TBB::tbb INTERFACE IMPORTED GLOBAL)
  target_include_directories(TBB::tbb INTERFACE ${MAYA_DEVKIT}/include)
  target_link_libraries(TBB::tbb INTERFACE ${MAYA_TBB_LIBRARY})
  target_compile_definitions(TBB::tbb INTERFACE __TBB_NO_IMPLICIT_LINKAGE=1)
endif()
