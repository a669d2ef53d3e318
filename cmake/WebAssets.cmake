# Builds web/page/* into a source file of corvane-web (re-run when a page
# file changes). Sets WEB_ASSETS_SOURCE.
set(WEB_ASSET_FILES
  "index.html|/|text/html"
  "app.js|/app.js|text/javascript"
  "style.css|/style.css|text/css")
set(WEB_ASSETS_SOURCE ${CMAKE_BINARY_DIR}/generated/web_assets.cpp)
set(entries "")
foreach(entry ${WEB_ASSET_FILES})
  string(REPLACE "|" ";" fields "${entry}")
  list(GET fields 0 file)
  list(GET fields 1 path)
  list(GET fields 2 type)
  set(source ${CMAKE_SOURCE_DIR}/web/page/${file})
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${source})
  file(READ ${source} text)
  string(FIND "${text}" ")page\"" clash)
  if(NOT clash EQUAL -1)
    message(FATAL_ERROR "${source} holds the text )page\" which ends the built-in string")
  endif()
  string(APPEND entries "        {\"${path}\", \"${type}\", R\"page(${text})page\"},\n")
endforeach()
file(CONFIGURE OUTPUT ${WEB_ASSETS_SOURCE} CONTENT
"// Generated from web/page/ by cmake/WebAssets.cmake.
#include \"web/assets.h\"

const std::vector<WebAsset> &web_assets()
{
    static const std::vector<WebAsset> assets = {
@entries@    };
    return assets;
}
" @ONLY)
