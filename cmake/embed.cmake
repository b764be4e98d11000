# Writes a C++ file that holds texts: cmake -DOUTPUT=... "-DINPUTS=a.yang;b.yang" -P embed.cmake
# FUNCTION and HEADER: what gives them, if not yang_texts of card_model.h.
if(NOT FUNCTION)
  set(FUNCTION yang_texts)
  set(HEADER card_model.h)
endif()
set(entries "")
foreach(input IN LISTS INPUTS)
  get_filename_component(name ${input} NAME_WE)
  file(READ ${input} text)
  string(APPEND entries "        {\"${name}\", R\"__text__(${text})__text__\"},\n")
endforeach()
file(WRITE ${OUTPUT} "// Generated from the YANG files: do not edit.
#include \"${HEADER}\"

namespace model {

const std::vector<YangText> &${FUNCTION}()
{
    static const std::vector<YangText> texts{
${entries}    };
    return texts;
}

} // namespace model
")
