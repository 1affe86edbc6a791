#include "support/CommandCases.h"

#include <gtest/gtest.h>

#include "api/Globals.h"

void CommandTest::checkCommands(const std::vector<CommandCase>& cases, const std::string& reply) {
    for (const bool accepted : {true, false}) {
        device->replyAlways(accepted ? reply : "-5\t");
        for (const CommandCase& c : cases) {
            SCOPED_TRACE(c.close + " <- " + c.request.second);
            const size_t before = device->requests().size();
            EXPECT_EQ(c.call(), accepted);
            EXPECT_EQ(g_ResultCode, accepted ? 0 : 5);
            const std::vector<Sent> requests = sent();
            ASSERT_EQ(requests.size(), before + 1);
            EXPECT_EQ(requests.back(), c.request);
            const Lines lines = log();
            ASSERT_GE(lines.size(), 2u);
            EXPECT_EQ(lines[lines.size() - 2], c.start);
            EXPECT_EQ(lines.back(), accepted ? c.close : c.close + " ErrorCode: 5");
        }
    }
}

