// The article database: one device command, the first request field a
// sub-command letter. A record is written with two amounts (Price, AddQty,
// Quantity) and read back with four (Price, Value1 to Value3); the two forms
// differ on purpose. Character fields are read from the second byte of their
// field, while writing sends the bare byte.
#include "device/OperationShape.h"
#include "device/VR35.h"
#include "tools/stdTools.h"
#include "wire/Firmware.h"

namespace {

const std::string::size_type kNameBytes = 32;  // of the name as written

cmd::Request subCommand(const char* letter) {
    return cmd::Request().text(letter);
}

// Fields 3 to 15 of a record as read. Name is left in the register's code
// page; R converts it, the walks do not.
struct RecordOutputs {
    char& TaxGr;
    int& Dep;
    int& Group;
    char& PriceType;
    double& Price;
    double& Value1;
    double& Value2;
    double& Value3;
    std::string& Bar1;
    std::string& Bar2;
    std::string& Bar3;
    std::string& Bar4;
    std::string& Name;

    void read(cmd::Fields& f) const {
        TaxGr = f.character(1);
        Dep = f.integer();
        Group = f.integer();
        PriceType = f.character(1);
        Price = f.amount();
        Value1 = f.amount();
        Value2 = f.amount();
        Value3 = f.amount();
        Bar1 = f.text();
        Bar2 = f.text();
        Bar3 = f.text();
        Bar4 = f.text();
        Name = f.text();
    }
};

// A walk of the table: the short record, field 2 to PLU when the operation
// hands it back (PLU not null), else parsed and dropped.
int walk(VR35& device, const char* name, const cmd::Request& request, int* PLU,
         const RecordOutputs& record) {
    return cmd::run(
        device, name, wire::Command::PrgAndReadArticle, request,
        [&](cmd::Fields& f) {
            const int plu = f.integer();
            if (PLU != nullptr) *PLU = plu;
            record.read(f);
        },
        cmd::Plain{name});
}

// X and x: one integer about the article.
int articleValue(VR35& device, const char* name, const char* letter, int PLU, int& ArticleValue) {
    return cmd::run(
        device, name, wire::Command::PrgAndReadArticle, subCommand(letter).number(PLU),
        [&](cmd::Fields& f) { ArticleValue = f.integer(); }, cmd::Plain{name});
}

// A record's number written as text, or an empty field for 0.
std::string optionalNumber(int value) {
    return value != 0 ? IntToStdStr(value) : std::string();
}

}  // namespace

int VR35::PrgAndReadArticleI(int& Info1, int& Info2, int& Info3) {
    return cmd::run(
        *this, "PrgAndReadArticleI", wire::Command::PrgAndReadArticle, subCommand("I"),
        [&](cmd::Fields& f) {
            Info1 = f.integer();
            Info2 = f.integer();
            Info3 = f.integer();
        },
        cmd::Plain{"PrgAndReadArticleI"});
}

int VR35::PrgAndReadArticleP(int PLU, char TaxGr, int Dep, int Group, char PriceType, double Price,
                             char AddQty, double Quantity, std::string Bar1, std::string Bar2,
                             std::string Bar3, std::string Bar4, std::string Name,
                             std::string Units, std::string Id1C, std::string IsWeight,
                             std::string Service, int Extra1, int Extra2) {
    cmd::Request request = subCommand("P");
    request.number(PLU)
        .byte(TaxGr)
        .number(Dep)
        .number(Group)
        .byte(PriceType)
        .amount(Price, 2)
        .byte(AddQty)
        .amount(Quantity, 3)
        .text(trim(Bar1))
        .text(trim(Bar2))
        .text(trim(Bar3))
        .text(trim(Bar4))
        .text(fromASCIItoDOS(Name).substr(0, kNameBytes));
    if (wire::longArticleRecord(firmwareRevision)) {
        request.text(fromASCIItoDOS(Units))
            .text(fromASCIItoDOS(Id1C))
            .text(fromASCIItoDOS(IsWeight))
            .text(fromASCIItoDOS(Service))
            .text(optionalNumber(Extra1))
            .text(optionalNumber(Extra2));
    }
    // The log shows the arguments as given, whatever the firmware, without
    // Extra1 and Extra2; amounts in the stream's default format.
    return cmd::run(*this, "PrgAndReadArticleP", wire::Command::PrgAndReadArticle, request,
                    cmd::noFields, [&](std::ostream& log) {
                        log << "PrgAndReadArticleP(PLU=" << PLU << ",TaxGr='" << TaxGr
                            << "',Dep=" << Dep << ",Group=" << Group << ",PriceType='" << PriceType
                            << "',Price=" << Price << ",AddQty='" << AddQty
                            << "',Quantity=" << Quantity << ",Bar1=\"" << Bar1 << "\",Bar2=\""
                            << Bar2 << "\",Bar3=\"" << Bar3 << "\",Bar4=\"" << Bar4 << "\",Name=\""
                            << Name << "\",Units=\"" << Units << "\",Id1C=\"" << Id1C
                            << "\",IsWeight=\"" << IsWeight << "\",Service=\"" << Service << "\");";
                    });
}

int VR35::PrgAndReadArticleA(int PLU, double Quantity) {
    return cmd::run(*this, "PrgAndReadArticleA", wire::Command::PrgAndReadArticle,
                    subCommand("A").number(PLU).amount(Quantity, 3), cmd::noFields,
                    cmd::Plain{"PrgAndReadArticleA"});
}

int VR35::PrgAndReadArticleD(int PLU, int ToPLU) {
    // One article, or the range PLU to ToPLU; the register judges the range.
    cmd::Request request = subCommand("D");
    request.number(PLU);
    if (ToPLU != PLU) request.number(ToPLU);
    return cmd::run(*this, "PrgAndReadArticleD", wire::Command::PrgAndReadArticle, request,
                    cmd::noFields, cmd::Plain{"PrgAndReadArticleD"});
}

int VR35::PrgAndReadArticleR(int PLU, char& TaxGr, int& Dep, int& Group, char& PriceType,
                             double& Price, double& Value1, double& Value2, double& Value3,
                             std::string& Bar1, std::string& Bar2, std::string& Bar3,
                             std::string& Bar4, std::string& Name, std::string& Units,
                             std::string& Id1C, std::string& IsWeight, std::string& Service,
                             int& Extra1, int& Extra2) {
    // Cleared whatever follows, and left 0 by a short record.
    Extra1 = 0;
    Extra2 = 0;
    const RecordOutputs record{TaxGr,  Dep,  Group, PriceType, Price, Value1, Value2,
                               Value3, Bar1, Bar2,  Bar3,      Bar4,  Name};
    return cmd::run(
        *this, "PrgAndReadArticleR", wire::Command::PrgAndReadArticle, subCommand("R").number(PLU),
        [&](cmd::Fields& f) {
            f.skip();  // the record's PLU: the caller's is the one asked for
            record.read(f);
            Name = fromDOStoASCII(Name);
            if (wire::longArticleRecord(firmwareRevision)) {
                Units = fromDOStoASCII(f.text());
                Id1C = fromDOStoASCII(f.text());
                IsWeight = fromDOStoASCII(f.text());
                Service = fromDOStoASCII(f.text());
                Extra1 = f.integer();
                Extra2 = f.integer();
            }
        },
        cmd::Plain{"PrgAndReadArticleR"});
}

// The walks. The register keeps the position between calls (N and NN send
// none); what the upper- and lower-case letters select is the register's
// business, and the driver passes the records through alike.

int VR35::PrgAndReadArticleF(int& PLU, char& TaxGr, int& Dep, int& Group, char& PriceType,
                             double& Price, double& Value1, double& Value2, double& Value3,
                             std::string& Bar1, std::string& Bar2, std::string& Bar3,
                             std::string& Bar4, std::string& Name) {
    return walk(*this, "PrgAndReadArticleF", subCommand("F").number(PLU), &PLU,
                {TaxGr, Dep, Group, PriceType, Price, Value1, Value2, Value3, Bar1, Bar2, Bar3,
                 Bar4, Name});
}

int VR35::PrgAndReadArticleL(int PLU, char& TaxGr, int& Dep, int& Group, char& PriceType,
                             double& Price, double& Value1, double& Value2, double& Value3,
                             std::string& Bar1, std::string& Bar2, std::string& Bar3,
                             std::string& Bar4, std::string& Name) {
    return walk(*this, "PrgAndReadArticleL", subCommand("L").number(PLU), nullptr,
                {TaxGr, Dep, Group, PriceType, Price, Value1, Value2, Value3, Bar1, Bar2, Bar3,
                 Bar4, Name});
}

int VR35::PrgAndReadArticleLL(int PLU, char& TaxGr, int& Dep, int& Group, char& PriceType,
                              double& Price, double& Value1, double& Value2, double& Value3,
                              std::string& Bar1, std::string& Bar2, std::string& Bar3,
                              std::string& Bar4, std::string& Name) {
    return walk(*this, "PrgAndReadArticleLL", subCommand("l").number(PLU), nullptr,
                {TaxGr, Dep, Group, PriceType, Price, Value1, Value2, Value3, Bar1, Bar2, Bar3,
                 Bar4, Name});
}

int VR35::PrgAndReadArticleN(int& PLU, char& TaxGr, int& Dep, int& Group, char& PriceType,
                             double& Price, double& Value1, double& Value2, double& Value3,
                             std::string& Bar1, std::string& Bar2, std::string& Bar3,
                             std::string& Bar4, std::string& Name) {
    return walk(*this, "PrgAndReadArticleN", subCommand("N"), &PLU,
                {TaxGr, Dep, Group, PriceType, Price, Value1, Value2, Value3, Bar1, Bar2, Bar3,
                 Bar4, Name});
}

int VR35::PrgAndReadArticleNN(int& PLU, char& TaxGr, int& Dep, int& Group, char& PriceType,
                              double& Price, double& Value1, double& Value2, double& Value3,
                              std::string& Bar1, std::string& Bar2, std::string& Bar3,
                              std::string& Bar4, std::string& Name) {
    return walk(*this, "PrgAndReadArticleNN", subCommand("n"), &PLU,
                {TaxGr, Dep, Group, PriceType, Price, Value1, Value2, Value3, Bar1, Bar2, Bar3,
                 Bar4, Name});
}

int VR35::PrgAndReadArticleFF(int PLU, char& TaxGr, int& Dep, int& Group, char& PriceType,
                              double& Price, double& Value1, double& Value2, double& Value3,
                              std::string& Bar1, std::string& Bar2, std::string& Bar3,
                              std::string& Bar4, std::string& Name) {
    return walk(*this, "PrgAndReadArticleFF", subCommand("f").number(PLU), nullptr,
                {TaxGr, Dep, Group, PriceType, Price, Value1, Value2, Value3, Bar1, Bar2, Bar3,
                 Bar4, Name});
}

int VR35::PrgAndReadArticleX(int PLU, int& ArticleValue) {
    return articleValue(*this, "PrgAndReadArticleX", "X", PLU, ArticleValue);
}

int VR35::PrgAndReadArticleXX(int PLU, int& ArticleValue) {
    return articleValue(*this, "PrgAndReadArticleXX", "x", PLU, ArticleValue);
}
