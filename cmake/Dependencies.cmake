# Every library is a Debian 12 package of tools/packages.txt.
find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)
find_package(fmt REQUIRED)
find_package(spdlog REQUIRED)
find_package(nlohmann_json REQUIRED)
find_package(CLI11 REQUIRED)
find_package(OpenSSL REQUIRED)
find_package(glm REQUIRED)
find_package(Qt6 REQUIRED COMPONENTS Widgets)
find_package(Vulkan REQUIRED COMPONENTS glslangValidator)
pkg_check_modules(GLIB REQUIRED IMPORTED_TARGET glib-2.0)
pkg_check_modules(ICU REQUIRED IMPORTED_TARGET icu-uc)
pkg_check_modules(HWY REQUIRED IMPORTED_TARGET libhwy)
pkg_check_modules(LIBAV REQUIRED IMPORTED_TARGET libavformat libavcodec libavutil libswscale)
pkg_check_modules(PANGO REQUIRED IMPORTED_TARGET pangocairo)
pkg_check_modules(PIPEWIRE REQUIRED IMPORTED_TARGET libpipewire-0.3)
pkg_check_modules(POPPLER REQUIRED IMPORTED_TARGET poppler-glib cairo)
pkg_check_modules(SECCOMP REQUIRED IMPORTED_TARGET libseccomp)
pkg_check_modules(SYSTEMD REQUIRED IMPORTED_TARGET libsystemd)
pkg_check_modules(JPEG REQUIRED IMPORTED_TARGET libjpeg)
pkg_check_modules(UDEV REQUIRED IMPORTED_TARGET libudev)
pkg_check_modules(PNG REQUIRED IMPORTED_TARGET libpng)
pkg_check_modules(CAIRO REQUIRED IMPORTED_TARGET cairo)

# imported_library(<target> <header> <include suffix> <libraries…>) for packages without a CMake
# or pkg-config file.
function(imported_library target header suffix)
  find_path(${target}_INCLUDE_DIR ${header} PATH_SUFFIXES ${suffix} REQUIRED)
  add_library(${target} INTERFACE IMPORTED GLOBAL)
  target_include_directories(${target} SYSTEM INTERFACE ${${target}_INCLUDE_DIR})
  foreach(library IN LISTS ARGN)
    find_library(${target}_${library} ${library} REQUIRED)
    target_link_libraries(${target} INTERFACE ${${target}_${library}})
  endforeach()
endfunction()

imported_library(lanternfly::yuv libyuv.h . yuv)
imported_library(lanternfly::opencv opencv2/dnn.hpp opencv4 opencv_dnn opencv_imgproc opencv_core)
# The OpenMP library is the one that oneDNN itself uses, whatever the compiler brings along.
imported_library(lanternfly::onednn oneapi/dnnl/dnnl.hpp . dnnl libgomp.so.1)
# Static, and in the order in which they need each other.
imported_library(lanternfly::glslang glslang/Public/ShaderLang.h .
  glslang MachineIndependent OSDependent OGLCompiler GenericCodeGen SPIRV
  glslang-default-resource-limits SPIRV-Tools-opt SPIRV-Tools)
