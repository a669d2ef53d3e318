// The page's files, built into corvane-web from web/page/.
#ifndef WEB_ASSETS_H
#define WEB_ASSETS_H

#include <vector>

struct WebAsset {
    const char *path;  // as requested
    const char *type;  // content type, UTF-8 text
    const char *text;
};

const std::vector<WebAsset> &web_assets();

#endif
