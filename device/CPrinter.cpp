#include "device/CPrinter.h"

#include <cmath>

CPrinter::~CPrinter() {}

double CPrinter::M() {
    return std::pow(10.0, decimalPlaces);
}
