# Writes a C++ file that holds texts: cmake -DOUTPUT=... "-DINPUTS=a.yang;b.yang" -P embed.cmake
set(entries "")
foreach(input IN LISTS INPUTS)
  get_filename_component(name ${input} NAME_WE)
  file(READ ${input} text)
  string(APPEND entries "        {\"${name}\", R\"__text__(${text})__text__\"},\n")
endforeach()
file(WRITE ${OUTPUT} "// Generated from the YANG files: do not edit.
#include \"card_model.h\"

namespace model {

const std::vector<YangText> &yang_texts()
{
    static const std::vector<YangText> texts{
${entries}    };
    return texts;
}

} // namespace model
")
