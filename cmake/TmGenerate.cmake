# tm_generate(<out_var> DEFINITIONS <set>.toml... OUTPUT_DIR <dir>)
#
# Generates the C++ codecs of each message set with host/tools/tmgen: <dir>/<set>.h and
# <dir>/<set>.cpp per definition file. The files are build outputs, regenerated whenever the
# definition, a definition of a set it uses, or the generator changes. <out_var> is set in the
# caller's scope to the generated headers and sources, for the caller to add to a target (whose
# include path then needs <dir>'s parent or <dir> itself, as the caller chooses). A relative
# DEFINITIONS path is taken from the current source directory.
#
# Fails configuration when an argument is missing or a definition does not exist; a malformed
# definition fails the build with tmgen's message, which names the file and the entry.

find_package(Python3 3.11 REQUIRED COMPONENTS Interpreter)  # tomllib arrived in 3.11

set(TM_GENERATE_TOOL_DIR "${CMAKE_CURRENT_LIST_DIR}/../host/tools/tmgen")
file(GLOB TM_GENERATE_TOOL_FILES CONFIGURE_DEPENDS "${TM_GENERATE_TOOL_DIR}/*.py")
list(FILTER TM_GENERATE_TOOL_FILES EXCLUDE REGEX "_test\\.py$")

function(tm_generate out_var)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "OUTPUT_DIR" "DEFINITIONS")
  if(arg_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "tm_generate: unexpected arguments: ${arg_UNPARSED_ARGUMENTS}")
  endif()
  if(NOT arg_DEFINITIONS)
    message(FATAL_ERROR "tm_generate: DEFINITIONS is required")
  endif()
  if("${arg_OUTPUT_DIR}" STREQUAL "")
    message(FATAL_ERROR "tm_generate: OUTPUT_DIR is required")
  endif()

  set(generated)
  foreach(definition IN LISTS arg_DEFINITIONS)
    get_filename_component(definition "${definition}" ABSOLUTE BASE_DIR "${CMAKE_CURRENT_SOURCE_DIR}")
    if(NOT EXISTS "${definition}" OR IS_DIRECTORY "${definition}")
      message(FATAL_ERROR "tm_generate: definition '${definition}' is not an existing file")
    endif()
    get_filename_component(set_name "${definition}" NAME_WLE)
    set(header "${arg_OUTPUT_DIR}/${set_name}.h")
    set(source "${arg_OUTPUT_DIR}/${set_name}.cpp")
    # The depfile names the definitions of the sets this one uses, which only tmgen knows.
    set(depfile "${arg_OUTPUT_DIR}/${set_name}.d")
    add_custom_command(
      OUTPUT "${header}" "${source}"
      COMMAND Python3::Interpreter "${TM_GENERATE_TOOL_DIR}/tmgen.py" "${definition}"
              --output-dir "${arg_OUTPUT_DIR}" --depfile "${depfile}"
      DEPENDS "${definition}" ${TM_GENERATE_TOOL_FILES}
      DEPFILE "${depfile}"
      COMMENT "Generating message set codecs ${set_name}"
      VERBATIM)
    list(APPEND generated "${header}" "${source}")
  endforeach()
  set(${out_var} "${generated}" PARENT_SCOPE)
endfunction()
