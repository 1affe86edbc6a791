#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "device/VR35.h"

namespace VERDA {

bool PrgAndReadArticleI(int& Info1, int& Info2, int& Info3) {
    return verdaResult(vr35->PrgAndReadArticleI(Info1, Info2, Info3));
}

bool PrgAndReadArticleP(int PLU, char TaxGr, int Dep, int Group, char PriceType, double Price,
                        char AddQty, double Quantity, std::string Bar1, std::string Bar2,
                        std::string Bar3, std::string Bar4, std::string Name, std::string Units,
                        std::string Id1C, std::string IsWeight, std::string Service, int Extra1,
                        int Extra2) {
    return verdaResult(vr35->PrgAndReadArticleP(PLU, TaxGr, Dep, Group, PriceType, Price, AddQty,
                                                Quantity, Bar1, Bar2, Bar3, Bar4, Name, Units, Id1C,
                                                IsWeight, Service, Extra1, Extra2));
}

bool PrgAndReadArticleA(int PLU, double Quantity) {
    return verdaResult(vr35->PrgAndReadArticleA(PLU, Quantity));
}

bool PrgAndReadArticleD(int PLU, int ToPLU) {
    return verdaResult(vr35->PrgAndReadArticleD(PLU, ToPLU));
}

bool PrgAndReadArticleR(int PLU, char& TaxGr, int& Dep, int& Group, char& PriceType, double& Price,
                        double& Value1, double& Value2, double& Value3, std::string& Bar1,
                        std::string& Bar2, std::string& Bar3, std::string& Bar4, std::string& Name,
                        std::string& Units, std::string& Id1C, std::string& IsWeight,
                        std::string& Service, int& Extra1, int& Extra2) {
    return verdaResult(vr35->PrgAndReadArticleR(PLU, TaxGr, Dep, Group, PriceType, Price, Value1,
                                                Value2, Value3, Bar1, Bar2, Bar3, Bar4, Name, Units,
                                                Id1C, IsWeight, Service, Extra1, Extra2));
}

bool PrgAndReadArticleF(int& PLU, char& TaxGr, int& Dep, int& Group, char& PriceType, double& Price,
                        double& Value1, double& Value2, double& Value3, std::string& Bar1,
                        std::string& Bar2, std::string& Bar3, std::string& Bar4,
                        std::string& Name) {
    return verdaResult(vr35->PrgAndReadArticleF(PLU, TaxGr, Dep, Group, PriceType, Price, Value1,
                                                Value2, Value3, Bar1, Bar2, Bar3, Bar4, Name));
}

bool PrgAndReadArticleL(int PLU, char& TaxGr, int& Dep, int& Group, char& PriceType, double& Price,
                        double& Value1, double& Value2, double& Value3, std::string& Bar1,
                        std::string& Bar2, std::string& Bar3, std::string& Bar4,
                        std::string& Name) {
    return verdaResult(vr35->PrgAndReadArticleL(PLU, TaxGr, Dep, Group, PriceType, Price, Value1,
                                                Value2, Value3, Bar1, Bar2, Bar3, Bar4, Name));
}

bool PrgAndReadArticleLL(int PLU, char& TaxGr, int& Dep, int& Group, char& PriceType, double& Price,
                         double& Value1, double& Value2, double& Value3, std::string& Bar1,
                         std::string& Bar2, std::string& Bar3, std::string& Bar4,
                         std::string& Name) {
    return verdaResult(vr35->PrgAndReadArticleLL(PLU, TaxGr, Dep, Group, PriceType, Price, Value1,
                                                 Value2, Value3, Bar1, Bar2, Bar3, Bar4, Name));
}

bool PrgAndReadArticleN(int& PLU, char& TaxGr, int& Dep, int& Group, char& PriceType, double& Price,
                        double& Value1, double& Value2, double& Value3, std::string& Bar1,
                        std::string& Bar2, std::string& Bar3, std::string& Bar4,
                        std::string& Name) {
    return verdaResult(vr35->PrgAndReadArticleN(PLU, TaxGr, Dep, Group, PriceType, Price, Value1,
                                                Value2, Value3, Bar1, Bar2, Bar3, Bar4, Name));
}

bool PrgAndReadArticleNN(int& PLU, char& TaxGr, int& Dep, int& Group, char& PriceType,
                         double& Price, double& Value1, double& Value2, double& Value3,
                         std::string& Bar1, std::string& Bar2, std::string& Bar3, std::string& Bar4,
                         std::string& Name) {
    return verdaResult(vr35->PrgAndReadArticleNN(PLU, TaxGr, Dep, Group, PriceType, Price, Value1,
                                                 Value2, Value3, Bar1, Bar2, Bar3, Bar4, Name));
}

bool PrgAndReadArticleFF(int PLU, char& TaxGr, int& Dep, int& Group, char& PriceType, double& Price,
                         double& Value1, double& Value2, double& Value3, std::string& Bar1,
                         std::string& Bar2, std::string& Bar3, std::string& Bar4,
                         std::string& Name) {
    return verdaResult(vr35->PrgAndReadArticleFF(PLU, TaxGr, Dep, Group, PriceType, Price, Value1,
                                                 Value2, Value3, Bar1, Bar2, Bar3, Bar4, Name));
}

bool PrgAndReadArticleX(int PLU, int& ArticleValue) {
    return verdaResult(vr35->PrgAndReadArticleX(PLU, ArticleValue));
}

bool PrgAndReadArticleXX(int PLU, int& ArticleValue) {
    return verdaResult(vr35->PrgAndReadArticleXX(PLU, ArticleValue));
}

}  // namespace VERDA
