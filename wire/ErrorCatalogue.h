#ifndef VERDA_WIRE_ERRORCATALOGUE_H
#define VERDA_WIRE_ERRORCATALOGUE_H

// The register's catalogue of Russian texts for result codes, in UTF-8: what
// ReadingError falls back on when the register gives no text, and where the
// simulated register takes the texts of its refusals. Internal to the
// protocol core.

// The UTF-8 text for code, or null when the catalogue has no row for it.
// The texts stand as the register's makers wrote them, slips and English
// fragments included; they are not to be corrected.
const char* errorText(int code);

#endif
