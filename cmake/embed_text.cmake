# Writes a C++ file that holds one text as NAMESPACE::NAME:
#   cmake -DOUTPUT=... -DINPUT=... -DNAMESPACE=... -DNAME=... -P embed_text.cmake
file(READ ${INPUT} text)
get_filename_component(input_name ${INPUT} NAME)
file(WRITE ${OUTPUT} "// Generated from ${input_name}: do not edit.
namespace ${NAMESPACE} {

extern const char *const ${NAME};
const char *const ${NAME} = R\"__text__(${text})__text__\";

} // namespace ${NAMESPACE}
")
