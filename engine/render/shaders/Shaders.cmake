# Turns the GLSL files of this folder into lanternfly_shader_texts.cc, which the renderer compiles
# when it is made, and compiles them now, so that a broken one fails the build.
set(shader_folder ${CMAKE_CURRENT_LIST_DIR})
set(shader_output ${CMAKE_CURRENT_BINARY_DIR}/shaders)
file(READ ${shader_folder}/common.glsl common)
file(READ ${shader_folder}/pane.glsl pane)
file(GLOB shader_files CONFIGURE_DEPENDS ${shader_folder}/*.vert ${shader_folder}/*.frag)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
  ${shader_folder}/common.glsl ${shader_folder}/pane.glsl ${shader_files})

set(entries "")
set(checked "")
foreach(file IN LISTS shader_files)
  get_filename_component(name ${file} NAME_WE)
  get_filename_component(suffix ${file} EXT)
  file(READ ${file} body)
  set(text "#version 450\n${common}\n")
  if(suffix STREQUAL ".frag")
    string(APPEND text "${pane}\n")
  endif()
  string(APPEND text "#line 1\n${body}")
  file(CONFIGURE OUTPUT ${shader_output}/${name}${suffix} CONTENT "${text}" @ONLY)
  string(APPEND entries "{\"${name}\", R\"glsl(${text})glsl\"},\n")
  add_custom_command(OUTPUT ${shader_output}/${name}.spv
    COMMAND Vulkan::glslangValidator --quiet -V --target-env vulkan1.3
      -o ${shader_output}/${name}.spv ${shader_output}/${name}${suffix}
    DEPENDS ${shader_output}/${name}${suffix} VERBATIM)
  list(APPEND checked ${shader_output}/${name}.spv)
endforeach()
add_custom_target(lanternfly_shaders DEPENDS ${checked})
file(CONFIGURE OUTPUT ${shader_output}/lanternfly_shader_texts.cc @ONLY CONTENT
"#include \"render/vulkan/ShaderTexts.h\"

namespace lanternfly {

const ShaderTexts& embeddedShaders() {
    static const ShaderTexts texts{
@entries@    };
    return texts;
}

} // namespace lanternfly
")
