# cmake -DHEADER=runa1.h -DOUTPUT=refs.c -P header_references.cmake
# Writes a C file that refers to every function the SDK header imports, so that compiling it
# lists the import symbol of each declaration.
file(READ ${HEADER} text)
string(REGEX MATCHALL "\nRUNA1_IMPORT\\([^)]*\\)[ \t\n]+[A-Za-z_][A-Za-z0-9_]*[ \t\n]*\\(" declarations "${text}")
set(lines "")
set(index 0)
foreach(declaration ${declarations})
  string(REGEX REPLACE ".*\\)[ \t\n]+([A-Za-z_][A-Za-z0-9_]*)[ \t\n]*\\($" "\\1" name "${declaration}")
  string(APPEND lines "  out[${index}] = (const void*)&${name};\n")
  math(EXPR index "${index} + 1")
endforeach()
file(WRITE ${OUTPUT} "#include <windows.h>\n#include <runa1.h>\n\nvoid runa1_header_references(const void** out) {\n${lines}}\n")
