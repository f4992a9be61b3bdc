# Writes a C++ file that holds the content of other files: cmake -DOUT=FILE "-DFILES=a;b" -P EmbedFiles.cmake
set(entries "")
foreach(file IN LISTS FILES)
    get_filename_component(name "${file}" NAME)
    file(READ "${file}" content)
    if(content MATCHES "[)]embedded\"")
        message(FATAL_ERROR "${file} holds the mark that ends it within the C++ file")
    endif()
    string(APPEND entries "    {\"${name}\", R\"embedded(${content})embedded\"},\n")
endforeach()
file(WRITE "${OUT}" "// Made by EmbedFiles.cmake.
#include \"tools/pelko/export/HtmlFiles.h\"

namespace pelkotool {

const std::vector<HtmlFile>& htmlFiles() {
    static const std::vector<HtmlFile> files = {
${entries}    };
    return files;
}

}  // namespace pelkotool
")
