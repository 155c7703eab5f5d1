# kel_generate_ids(<out_var> INPUT <classes.yaml> OUTPUT <header> NAMESPACE <namespace>)
#
# Generates <header> from the class descriptions <classes.yaml> with kel_idgen (host/tools/idgen):
# the id block, class, property and relation ids by name, in <namespace>. The header is a build
# output, regenerated when the descriptions or the generator change. <out_var> is set to the
# header, for the caller to add to a target whose include path holds its folder.

function(kel_generate_ids out_var)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "INPUT;OUTPUT;NAMESPACE" "")
  if(NOT arg_INPUT OR NOT arg_OUTPUT OR NOT arg_NAMESPACE)
    message(FATAL_ERROR "kel_generate_ids: INPUT, OUTPUT and NAMESPACE are required")
  endif()
  add_custom_command(OUTPUT "${arg_OUTPUT}"
                     COMMAND kel_idgen "${arg_INPUT}" "${arg_OUTPUT}" "${arg_NAMESPACE}"
                     DEPENDS kel_idgen "${arg_INPUT}"
                     COMMENT "Generating ${arg_OUTPUT}"
                     VERBATIM)
  set(${out_var} "${arg_OUTPUT}" PARENT_SCOPE)
endfunction()
