#include "Settings.h"

#include <cmath>
#include <cstdlib>

#include "common/Codes.h"

namespace server {

nlohmann::json readSettings(RegisterHandle& d, const PaymentModes& modes) {
    int zReport = 0;
    double rates[6] = {0, 0, 0, 0, 0, 0};
    char entered[64] = "";
    VERDA_CALL(d, ReportOnTaxRates, &zReport, &rates[0], &rates[1], &rates[2], &rates[3], &rates[4],
               &rates[5], entered, sizeof entered);
    // The register reports the rates as TaxA to TaxF, the groups in order.
    nlohmann::json groups = nlohmann::json::array();
    static_assert(sizeof codes::kTaxGroup / sizeof codes::kTaxGroup[0] == 6,
                  "a rate for each tax group");
    for (size_t i = 0; i < 6; ++i)
        groups.push_back({{"group", std::atoi(codes::kTaxGroup[i].name)},
                          {"rate", std::round(rates[i] * 100) / 100}});
    nlohmann::json payments = nlohmann::json::array();
    for (const PaymentModeName& m : modes) payments.push_back({{"name", m.name}, {"mode", m.mode}});
    return {{"tax_groups", groups},
            {"tax_rates", {{"z_report", zReport}, {"entered", entered}}},
            {"payment_modes", payments}};
}

}  // namespace server
