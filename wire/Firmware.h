#ifndef VERDA_WIRE_FIRMWARE_H
#define VERDA_WIRE_FIRMWARE_H

// The register's firmware generations, told apart by the revision that
// DiagnosticInfo reports. The receipt commands and the article records
// changed at different points, so the two tests differ on purpose: one
// revision exactly, and everything above it. Internal to the protocol core.

namespace wire {

const int kOlderFirmwareRevision = 944123;

// Opening a receipt or a shift, and a sale line, take shorter field lists
// on this one revision only.
inline bool shortReceiptFields(long long revision) {
    return revision == kOlderFirmwareRevision;
}

// Article records carry Units, Id1C, IsWeight, Service, Extra1 and Extra2
// only above it.
inline bool longArticleRecord(long long revision) {
    return revision > kOlderFirmwareRevision;
}

}  // namespace wire

#endif
