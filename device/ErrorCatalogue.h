#ifndef VERDA_DEVICE_ERRORCATALOGUE_H
#define VERDA_DEVICE_ERRORCATALOGUE_H

// The driver's own Russian texts for result codes: what ReadingError falls
// back on when the register gives no text. Also meant for the command-line
// tool and the simulator, which need the same words without a device.

// The UTF-8 text for code, or null when the catalogue has no row for it.
// The texts stand as the register's makers wrote them, slips and English
// fragments included; they are not to be corrected.
const char* errorText(int code);

#endif
