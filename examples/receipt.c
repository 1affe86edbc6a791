/* The C interface in a point-of-sale program in miniature: one register,
   one receipt of one loaf of bread paid in cash. Every call gives a result
   code; verda_error_text explains it.

     receipt tcp HOST PORT          a register on the network (HOST: a name or an address)
     receipt serial DEVICE [BAUD]   a register on a serial line (115200)

   The exit status is 0 when the receipt was closed. */

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "capi/verda.h"

/* Prints one step and passes its result on. */
static int step(const char* name, int rc) {
    if (rc == VERDA_OK)
        printf("%-16s ok\n", name);
    else
        printf("%-16s error %d: %s\n", name, rc, verda_error_text(rc));
    return rc;
}

static int connect(verda_device* d, int argc, char** argv) {
    if (strcmp(argv[1], "tcp") == 0 && argc == 4)
        return step("open_socket", verda_open_socket(d, argv[2], atoi(argv[3])));
    if (strcmp(argv[1], "serial") == 0 && (argc == 3 || argc == 4))
        return step("open_serial",
                    verda_open_serial(d, argv[2], argc == 4 ? atoi(argv[3]) : 115200));
    fprintf(stderr, "usage: %s tcp HOST PORT | serial DEVICE [BAUD]\n", argv[0]);
    return VERDA_INVALID_ARGUMENT;
}

static int sell_one_receipt(verda_device* d) {
    /* Text is UTF-8; the interface converts it for the register. */
    int nFD = 0, sign = 0, shift = 0, slip = 0, doc = 0;
    if (step("OpenShift",
             verda_OpenShift(d, 1, "1", 1, "", "", "Иванова", "", &nFD, &sign, &shift)) == VERDA_OK)
        printf("                 shift %d opened\n", shift);
    else
        puts("                 (a shift that is open already is fine)");

    int rc = step("OpenFiscalInv", verda_OpenFiscalInv(d, 1, "1", 1, VERDA_RECEIPT_SALE, "", "",
                                                       "Иванова", "", &slip, &doc, &shift));
    if (rc != VERDA_OK) return rc;

    /* One loaf at 45.50, tax group '1', department 1, no discount. */
    rc = step("RegisterSale", verda_RegisterSale(d, "Хлеб", VERDA_TAX_GROUP_1, 45.50, 1.0, 0, 1,
                                                 VERDA_DISCOUNT_NONE, 0, 0, 0, 0, 0, &slip));
    if (rc == VERDA_OK) {
        /* Cash (payment mode 0), 50.00 handed over, change allowed. */
        char status = ' ';
        double rest = 0;
        rc = step("Total", verda_Total(d, VERDA_PAYMENT_CASH, 50.00, '1', &status, &rest, &slip));
        if (rc == VERDA_OK) printf("                 status %c, %.2f\n", status, rest);
    }
    if (rc != VERDA_OK) {
        verda_CancelFiscalInv(d, &slip);
        return rc;
    }
    char fiscal_sign[32];
    rc = step("CloseFiscalInv",
              verda_CloseFiscalInv(d, &slip, &nFD, fiscal_sign, sizeof fiscal_sign, &doc, &shift));
    if (rc == VERDA_OK)
        printf("                 receipt %d, fiscal document %d, sign %s\n", slip, nFD,
               fiscal_sign);
    return rc;
}

int main(int argc, char** argv) {
    if (argc < 3) {
        fprintf(stderr, "usage: %s tcp HOST PORT | serial DEVICE [BAUD]\n", argv[0]);
        return 2;
    }
    verda_device* d = verda_device_new();
    if (d == NULL) return 1;
    int rc = connect(d, argc, argv);
    if (rc == VERDA_OK) rc = step("PrinterInit", verda_PrinterInit(d));
    if (rc == VERDA_OK) rc = sell_one_receipt(d);
    verda_device_free(d); /* closes the link first */
    puts(rc == VERDA_OK ? "receipt sold" : "no receipt sold");
    return rc == VERDA_OK ? 0 : 1;
}
