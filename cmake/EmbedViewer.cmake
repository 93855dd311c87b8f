# cmake -DSCRIPT=viewer.js -DSTYLE=page.css -DOUTPUT=ViewerFiles.cpp -P EmbedViewer.cmake
#
# Writes two files as a source, as lists of bytes: compilers have a limit for texts.

function(embed name file)
  file(READ "${file}" hex HEX)
  file(SHA256 "${file}" sum)
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
  string(REGEX REPLACE "(................................................................................)" "\\1\n" bytes "${bytes}")
  set(text "unsigned char const ${name}_BYTES[] = {${bytes}};\n")
  string(APPEND text "char const* const ${name}_SUM = \"${sum}\";\n")
  set(${name} "${text}" PARENT_SCOPE)
endfunction()

embed(SCRIPT_FILE "${SCRIPT}")
embed(STYLE_FILE "${STYLE}")
file(WRITE "${OUTPUT}" "#include \"workflow/report/page/ViewerFiles.h\"

namespace veld
{

namespace
{

${SCRIPT_FILE}
${STYLE_FILE}
template <typename Bytes>
ViewerFile file_of(Bytes const& bytes, char const* sum)
{
    return {{reinterpret_cast<char const*>(bytes), sizeof(bytes)}, sum};
}

} // namespace

ViewerFile viewer_script()
{
    return file_of(SCRIPT_FILE_BYTES, SCRIPT_FILE_SUM);
}

ViewerFile page_style()
{
    return file_of(STYLE_FILE_BYTES, STYLE_FILE_SUM);
}

} // namespace veld
")
