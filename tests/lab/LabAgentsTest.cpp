// Show that --lab-agents answers through the lab's dispatch: one line per agent, a sentence
// when none runs, and a failure when the process table cannot be read.
#include "lab/LabAgents.h"

#include <gtest/gtest.h>

#include <sstream>

#include "lab/LabCommand.h"

namespace vigilmoth {
namespace {

// A census that answers what the test says, for the dispatch's own answers.
class FixedCensus final : public ProcessCensusing {
public:
    explicit FixedCensus(std::optional<std::vector<ProcessInfoRow>> rows)
        : rows_(std::move(rows)) {}
    std::optional<std::vector<ProcessInfoRow>> snapshot() override { return rows_; }
    std::optional<ProcessInfoRow> row(int32_t) override { return std::nullopt; }

private:
    std::optional<std::vector<ProcessInfoRow>> rows_;
};

TEST(LabAgentsTest, AnswersThroughTheLabDispatch) {
    ProcessInfoRow pi;
    pi.pid = 40;
    pi.ppid = 1;
    pi.executablePath = "/usr/bin/node";
    pi.arguments = {"node", "/opt/agents/pi/node_modules/.bin/pi"};
    ProcessInfoRow other = pi;
    other.pid = 41;
    other.arguments = {"node", "server.js"};
    const struct {
        const char* name;
        std::optional<std::vector<ProcessInfoRow>> rows;
        bool succeeded;
        std::string out, err;
    } cases[] = {
        {"no agent", std::vector<ProcessInfoRow>{other}, true, "No agent is running.\n", ""},
        {"an empty table", std::vector<ProcessInfoRow>{}, true, "No agent is running.\n", ""},
        {"one agent", std::vector<ProcessInfoRow>{pi, other}, true,
         "Pi [pi] session, pid 40, 1 process\n", ""},
        {"no process table", std::nullopt, false, "",
         "vigilmoth could not read the process table.\n"},
    };
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.name);
        FixedCensus census(testCase.rows);
        std::ostringstream out, err;
        LabContext context{out, err, &census};
        EXPECT_EQ(LabCommand::run({"vigilmoth", "--lab-agents"}, context), testCase.succeeded);
        EXPECT_EQ(out.str(), testCase.out);
        EXPECT_EQ(err.str(), testCase.err);
    }
}

}  // namespace
}  // namespace vigilmoth
