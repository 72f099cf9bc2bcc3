// Show that command lines are decoded through launchers, script interpreters and command
// targets into the names an agent may be known by, and the arguments after its name.
#include "catalog/CommandDecoding.h"

#include <gtest/gtest.h>

#include <iterator>
#include <sstream>

#include "base/Golden.h"

namespace vigilmoth {
namespace {

std::vector<std::string> words(const std::string& text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), std::istream_iterator<std::string>()};
}

TEST(CommandDecodingTest, DecodesLaunchersInterpretersAndTargets) {
    for (const auto& row : testing::tableRows("catalog/commands.txt")) {
        SCOPED_TRACE(row.where);
        ASSERT_EQ(row.cells.size(), 5u);
        auto command = CommandDecoding::command(
            {.executablePath = row.cells[0], .arguments = words(row.cells[1])});
        EXPECT_EQ(command.names, words(row.cells[2]));
        EXPECT_EQ(command.arguments, words(row.cells[3]));
        EXPECT_EQ(command.interpreted, row.cells[4] == "yes");
    }
}

TEST(CommandDecodingTest, RecognisesCommandTargetsAndTheirNames) {
    for (const auto& row : testing::tableRows("catalog/targets.txt")) {
        SCOPED_TRACE(row.where);
        const auto word = row.cells.at(0) == "-" ? "" : row.cells[0];
        EXPECT_EQ(CommandDecoding::isCommandTarget(word), row.cells.at(1) == "yes");
        EXPECT_EQ(CommandDecoding::targetName(word), row.cells.at(2) == "-" ? "" : row.cells[2]);
    }
}

}  // namespace
}  // namespace vigilmoth
