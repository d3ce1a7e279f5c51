# Writes a C++ source with the files of a folder: cmake -DFOLDER=... -DFILES=a,b -DOUTPUT=... -P embed.cmake
set(text "// Made from the files in page/.\n#include \"live/page.h\"\n\nnamespace live\n{\n\nnamespace\n{\n\n")
set(table "")
set(types "html=text/html; charset=utf-8" "css=text/css" "js=text/javascript" "svg=image/svg+xml")
set(number 0)
string(REPLACE "," ";" FILES "${FILES}")
foreach(file IN LISTS FILES)
  file(READ ${FOLDER}/${file} hex HEX)
  string(LENGTH "${hex}" digits)
  math(EXPR size "${digits} / 2")
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
  string(REGEX REPLACE "(................................................................................)" "\\1\n"
                       bytes "${bytes}")
  string(APPEND text "constexpr unsigned char kFile${number}[] = {\n${bytes}};\n\n")
  string(REGEX MATCH "[a-z]+$" ending ${file})
  set(type "text/plain")
  foreach(pair IN LISTS types)
    if(pair MATCHES "^${ending}=(.*)")
      set(type "${CMAKE_MATCH_1}")
    endif()
  endforeach()
  set(path "/${file}")
  if(file STREQUAL "index.html")
    set(path "/")
  endif()
  string(APPEND table "        {\"${path}\", \"${type}\", {reinterpret_cast<const char*>(kFile${number}), ${size}}},\n")
  math(EXPR number "${number} + 1")
endforeach()
string(
  APPEND
  text
  "} // namespace\n\nconst Asset* find_asset(std::string_view path)\n{\n    static const Asset kAssets[] = {\n${table}"
  "    };\n    for (const Asset& asset : kAssets) {\n        if (asset.path == path) {\n            return &asset;\n"
  "        }\n    }\n    return nullptr;\n}\n\n} // namespace live\n"
)
file(WRITE ${OUTPUT} "${text}")
