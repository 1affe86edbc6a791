#ifndef VERDA_TOOLS_STDTOOLS_H
#define VERDA_TOOLS_STDTOOLS_H

// Every free helper of the library: field tools, numbers, code pages,
// Unicode and text files, string and byte helpers, and the log.

#include "tools/codepages.h"
#include "tools/fields.h"
#include "tools/log.h"
#include "tools/numbers.h"
#include "tools/strings.h"
#include "tools/unicode.h"

#endif
