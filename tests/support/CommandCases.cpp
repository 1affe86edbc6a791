#include "support/CommandCases.h"

#include <gtest/gtest.h>

#include "api/Globals.h"

void CommandTest::checkCommands(const std::vector<CommandCase>& cases, const std::string& reply) {
    for (const bool accepted : {true, false}) {
        device->replyAlways(accepted ? reply : "-5\t");
        for (const CommandCase& c : cases) {
            SCOPED_TRACE(c.label + (accepted ? " accepted" : " refused"));
            const size_t before = device->requests().size();
            EXPECT_EQ(c.call(), accepted);
            EXPECT_EQ(g_ResultCode, accepted ? 0 : 5);
            const auto requests = device->requests();
            ASSERT_EQ(requests.size(), before + 1);
            EXPECT_EQ(requests.back().command, c.command);
            EXPECT_EQ(requests.back().data, c.data);
            const auto lines = log();
            ASSERT_GE(lines.size(), 2u);
            EXPECT_EQ(lines[lines.size() - 2], c.start);
            EXPECT_EQ(lines.back(), accepted ? c.close : c.close + " ErrorCode: 5");
        }
    }
}

std::string tabbed(const std::vector<std::string>& fields) {
    std::string data;
    for (const std::string& field : fields) data += field + '\t';
    return data;
}
