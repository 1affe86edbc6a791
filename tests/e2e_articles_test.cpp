// The article database as a point-of-sale program keeps it in the simulated
// register: written in the application's CP1251, read back and walked.
#include <gtest/gtest.h>

#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "support/SimClient.h"

namespace {

// A record as the short reads (F, L, N, ...) hand it over.
struct Short {
    char tax = 0, priceType = 0;
    int dep = 0, group = 0;
    double price = 0, value[3] = {0, 0, 0};
    std::string bar[4], name;
};

// The long record of R: the short one and the fields after the name, which
// start out as markers so that an untouched field shows.
struct Long : Short {
    std::string units = "?", id = "?", weight = "?", service = "?";
    int extra1 = -1, extra2 = -1;
};

class E2eArticles : public SimClient {
  protected:
    void write(int plu, const std::string& name, const std::string& bar = "") {
        EXPECT_TRUE(VERDA::PrgAndReadArticleP(plu, 'A', 2, 3, '0', 12.50, '0', 10, bar, "", "", "",
                                              cp1251(name), cp1251("шт"), "id-7", "0", "1", 0, 3))
            << g_ResultCode;
    }
    bool read(int plu, Long& r) {
        return VERDA::PrgAndReadArticleR(plu, r.tax, r.dep, r.group, r.priceType, r.price,
                                         r.value[0], r.value[1], r.value[2], r.bar[0], r.bar[1],
                                         r.bar[2], r.bar[3], r.name, r.units, r.id, r.weight,
                                         r.service, r.extra1, r.extra2);
    }
    bool first(int& plu, Short& r) {
        return VERDA::PrgAndReadArticleF(plu, r.tax, r.dep, r.group, r.priceType, r.price,
                                         r.value[0], r.value[1], r.value[2], r.bar[0], r.bar[1],
                                         r.bar[2], r.bar[3], r.name);
    }
    bool next(int& plu, Short& r) {
        return VERDA::PrgAndReadArticleN(plu, r.tax, r.dep, r.group, r.priceType, r.price,
                                         r.value[0], r.value[1], r.value[2], r.bar[0], r.bar[1],
                                         r.bar[2], r.bar[3], r.name);
    }
    bool one(int plu, Short& r) {
        return VERDA::PrgAndReadArticleL(plu, r.tax, r.dep, r.group, r.priceType, r.price,
                                         r.value[0], r.value[1], r.value[2], r.bar[0], r.bar[1],
                                         r.bar[2], r.bar[3], r.name);
    }
};

// The Cyrillic name goes in as CP1251 ("ё" has no place in the register's
// code page and becomes a space). R hands back only the second UTF-8 byte of
// each letter; L hands back the register's CP866 bytes.
TEST_P(E2eArticles, RecordRoundTripInBothReadForms) {
    write(7, "Чай зелёный", "4600000000017");
    Long r;
    ASSERT_TRUE(read(7, r));
    EXPECT_EQ(r.tax, 'A');
    EXPECT_EQ(r.dep, 2);
    EXPECT_EQ(r.group, 3);
    EXPECT_EQ(r.priceType, '0');
    EXPECT_EQ(r.price, 12.50);
    EXPECT_EQ(r.value[0], 10.0);  // stock
    EXPECT_EQ(r.bar[0], "4600000000017");
    EXPECT_EQ(r.name, secondBytes("Чай зел ный"));
    EXPECT_EQ(r.units, "\x88\x82");  // "шт"
    EXPECT_EQ(std::vector<std::string>({r.id, r.weight, r.service}),
              std::vector<std::string>({"id-7", "0", "1"}));
    EXPECT_EQ(r.extra1, 0);
    EXPECT_EQ(r.extra2, 3);

    Short l;
    ASSERT_TRUE(one(7, l));
    EXPECT_EQ(l.name, to866("Чай зел ный"));
    EXPECT_EQ(l.price, 12.50);

    // A second article with the same bar code is refused with its reason.
    EXPECT_FALSE(VERDA::PrgAndReadArticleP(8, 'A', 2, 3, '0', 1, '0', 1, "4600000000017", "", "",
                                           "", "x", "", "", "", "", 0, 0));
    EXPECT_EQ(g_ResultCode, 103002);
}

TEST_P(E2eArticles, WalkFindsEachArticleOnceAndDeletionRemoves) {
    for (int plu : {3, 7, 12}) write(plu, "Товар " + std::to_string(plu));
    Short r;
    int plu = 1;
    ASSERT_TRUE(first(plu, r));
    std::vector<int> seen{plu};
    while (next(plu, r)) seen.push_back(plu);
    EXPECT_EQ(g_ResultCode, 111004);  // past the last one
    EXPECT_EQ(seen, (std::vector<int>{3, 7, 12}));
    EXPECT_EQ(r.name, to866("Товар 12"));

    EXPECT_TRUE(VERDA::PrgAndReadArticleD(1, 5));
    EXPECT_TRUE(VERDA::PrgAndReadArticleD(12, 12));
    int count = 0, capacity = 0, last = 0;
    ASSERT_TRUE(VERDA::PrgAndReadArticleI(count, capacity, last));
    EXPECT_EQ(count, 1);
    EXPECT_FALSE(one(3, r));
    EXPECT_EQ(g_ResultCode, 111004);
}

VERDA_BOTH_TRANSPORTS(E2eArticles);

// On the older firmware the record has no fields after the name: R leaves
// them as they were and gives the two numbers as 0.
class E2eArticlesOlder : public E2eArticles {
    void configure(sim::Options& o) override { o.identity.firmware = "944123"; }
};

TEST_P(E2eArticlesOlder, RecordEndsAtTheName) {
    write(5, "Чай");
    Long r;
    ASSERT_TRUE(read(5, r));
    EXPECT_EQ(r.name, "\xA7\xB0\xB9");  // "Чай"
    EXPECT_EQ(std::vector<std::string>({r.units, r.id, r.weight, r.service}),
              std::vector<std::string>(4, "?"));
    EXPECT_EQ(r.extra1, 0);
    EXPECT_EQ(r.extra2, 0);
}

VERDA_TCP_ONLY(E2eArticlesOlder);

}  // namespace
