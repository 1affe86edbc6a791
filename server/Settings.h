#ifndef VERDA_SERVER_SETTINGS_H
#define VERDA_SERVER_SETTINGS_H

// GET /devices/{id}/settings: what a POS needs to know before it sells on a
// register. The register's tax groups with the rates it reports, and the
// payment modes by the names that this server takes for them.

#include "Config.h"
#include "RegisterHandle.h"

namespace server {

// {"tax_groups": [{"group", "rate"}], "tax_rates": {"z_report", "entered"},
//  "payment_modes": [{"name", "mode"}]}; reads the register (ReportOnTaxRates).
nlohmann::json readSettings(RegisterHandle& device, const PaymentModes& modes);

}  // namespace server

#endif
