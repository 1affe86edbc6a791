#ifndef VERDA_WIRE_DOCUMENTS_H
#define VERDA_WIRE_DOCUMENTS_H

// The register's documents as its electronic journal keeps them: the letter
// of each kind (the Flag of GetInfoFromEJ0) and the printed labels of the
// lines that tell what a document was for. The simulated register prints by
// them; verda-server reads documents back by them. The labels are UTF-8.

namespace wire {
namespace document {

// A fiscal receipt's kind by its receipt type: sale, return, purchase,
// purchase return, (type 4 opens the shift: kShiftOpening), and the two
// correction receipts.
inline constexpr char kReceiptKinds[] = "SRPQ-KK";
inline constexpr char kShiftOpening = 'O';
inline constexpr char kXReport = 'X';
inline constexpr char kZReport = 'Z';
inline constexpr char kCashIn = 'I';
inline constexpr char kCashOut = 'W';

// A receipt's line of its total, "ИТОГ ... =211.30".
inline constexpr char kTotalLabel[] = "ИТОГ";
// The line of the sum of cash in or out, "СУММА ... 70.00".
inline constexpr char kCashSumLabel[] = "СУММА";
// The foot of a fiscal document: its fiscal number and its fiscal sign,
// "ФД № 12    ФП 123456789". The electronic journal gives the number sign
// back as a space.
inline constexpr char kFiscalNumberLabel[] = "ФД";
inline constexpr char kNumberSign[] = "№";
inline constexpr char kSignMark[] = "ФП ";

}  // namespace document
}  // namespace wire

#endif
