#ifndef VERDA_SERVER_EMBEDDED_H
#define VERDA_SERVER_EMBEDDED_H

// A file built into the program (server/embed.cmake writes the tables): the
// OpenAPI document and the web console are served from the program itself,
// never from the source tree.

namespace server {

struct EmbeddedFile {
    const char* name;  // relative to its folder, e.g. "console.js"
    const char* text;
};

}  // namespace server

#endif
