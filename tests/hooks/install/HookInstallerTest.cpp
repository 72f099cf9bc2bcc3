// Show that the installer edits real files in a home folder surgically: every real settings
// file comes back byte for byte after install and removal, backups are named and pruned, and
// every guard stops with its exact message and leaves the file as it was.
#include "hooks/install/HookInstaller.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <map>
#include <random>

#include "base/Golden.h"
#include "base/Log.h"
#include "hooks/install/HookExpectations.h"
#include "hooks/install/HookPluginHistory.h"
#include "hooks/install/SystemHookFileAccess.h"
#include "support/MachineWording.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

namespace fs = std::filesystem;
using testing::readFile;
using testing::writeFile;
using Kind = HookInstallError::Kind;

const HookCatalogEntry& entry(std::string_view id) {
    return *HookCatalog::entry(id);
}

// The sorted names in `folder` that start with `prefix`; none when there is no folder.
std::vector<std::string> namesIn(const fs::path& folder, const std::string& prefix = "") {
    std::vector<std::string> names;
    if (!fs::exists(folder)) return names;
    for (const auto& item : fs::directory_iterator(folder)) {
        auto name = item.path().filename().string();
        if (name.starts_with(prefix)) names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

// The real file system, with a way for a test to step in as another program would.
class SteppingFiles : public SystemHookFileAccess {
public:
    FileContents read(const std::string& path) override {
        if (beforeRead) beforeRead(path, ++reads[path]);
        return SystemHookFileAccess::read(path);
    }
    bool isWritable(const std::string& path) override {
        return !readOnly && SystemHookFileAccess::isWritable(path);
    }
    bool write(const std::string& path, const std::string& bytes) override {
        return !failWrites && SystemHookFileAccess::write(path, bytes);
    }

    std::function<void(const std::string& path, int count)> beforeRead;
    std::map<std::string, int> reads;
    bool readOnly = false;
    bool failWrites = false;
};

class HookInstallerTest : public ::testing::Test {
protected:
    // Each install and removal logs a line; hundreds of them would bury a failure.
    void SetUp() override {
        setLogSink([](LogLevel, std::string_view, std::string_view) {});
    }
    void TearDown() override { setLogSink(writeLogLineToStandardError); }

    HookInstaller installer(const std::string& app = "/opt/vigilmoth") {
        return HookInstaller(
            {home.path().string(), app, support()}, [this] { return now; }, files);
    }
    std::string support() const { return (home.path() / ".local/share/vigilmoth").string(); }
    std::string config(const HookCatalogEntry& target) const {
        return (home.path() / target.configPath).string();
    }
    // Makes the agent's folder, with `text` as its settings file when given.
    void setUp(const HookCatalogEntry& target, std::optional<std::string> text = {}) {
        auto folder = fs::path(target.configPath).begin()->string();
        fs::create_directories(home.path() / (folder == ".config" ? ".config/opencode" : folder));
        if (text) writeFile(config(target), *text);
    }
    std::vector<std::string> backupsOf(const HookCatalogEntry& target) const {
        auto file = fs::path(config(target));
        return namesIn(file.parent_path(), file.filename().string() + ".vigilmoth-backup-");
    }
    // Runs `action` and returns the message it failed with, or nothing.
    std::optional<std::string> failure(const std::function<void()>& action,
                                       const HookCatalogEntry& target) {
        try {
            action();
        } catch (const HookInstallError& error) {
            return error.message(HookInstaller::shownPath(target));
        }
        return std::nullopt;
    }
    void expectInstalledOver(const std::string& before, const HookCatalogEntry& target) {
        testing::expectInstalledOver(before, readFile(config(target)), target, "/opt/vigilmoth");
    }

    testing::TemporaryFolder home;
    SteppingFiles files;
    Date now{1'790'000'000};
};

// Each real file (named, with its text) and the entry it belongs to, by the folder it was
// collected in; then blank and missing (no text) files.
std::vector<std::tuple<std::string, std::optional<std::string>, std::string>> realFiles() {
    std::vector<std::tuple<std::string, std::optional<std::string>, std::string>> found;
    auto add = [&](const fs::path& path, const std::string& owner) {
        found.emplace_back(path.filename().string(), readFile(path), owner);
    };
    add(testing::fixture("hook-configs/cursor-hooks.agentmemory.json"), "cursor");
    add(testing::fixture("hook-configs/codex-hooks.schemastore-test.json"), "codex");
    for (std::string folder : {"claude", "codex", "cursor", "droid", "gemini"}) {
        for (const auto& item : fs::directory_iterator(testing::fixture("settings/" + folder)))
            add(item.path(), folder == "gemini" ? "claude" : folder);
    }
    for (const auto& blank :
         {std::optional<std::string>(), std::optional<std::string>(""),
          std::optional<std::string>("\n"), std::optional<std::string>(" \r\n\t")})
        found.emplace_back(::testing::PrintToString(blank), blank, "claude");
    return found;
}

TEST_F(HookInstallerTest, RealSettingsFilesComeBackByteForByte) {
    int installed = 0, refused = 0;
    for (const auto& [name, original, owner] : realFiles()) {
        SCOPED_TRACE(name + " as " + owner);
        const auto& target = entry(owner);
        setUp(target, original);
        auto message = failure([&] { installer().install(target); }, target);
        if (message) {
            ++refused;
            const auto shown = "~/" + target.configPath;
            EXPECT_TRUE(*message == HookInstallError(Kind::unreadable).message(shown) ||
                        *message == HookInstallError(Kind::unexpectedShape).message(shown))
                << *message;
            EXPECT_EQ(readFile(config(target)), original);
            EXPECT_TRUE(backupsOf(target).empty());
            continue;
        }
        ++installed;
        expectInstalledOver(original.value_or(""), target);
        EXPECT_EQ(installer().status(target), HookStatus::installed(1));
        installer().uninstall(target);
        EXPECT_EQ(fs::exists(config(target)), original.has_value());
        if (original) {
            EXPECT_EQ(readFile(config(target)), *original);
        }
        EXPECT_FALSE(fs::exists(installer().recordPath(target)));
        fs::remove_all(home.path());
        fs::create_directories(home.path());
    }
    // The collection holds both kinds; a change that refused everything would pass otherwise.
    EXPECT_GT(installed, 90);
    EXPECT_GT(refused, 10);
}

// Four changing installs in one second keep the newest three backups.
TEST_F(HookInstallerTest, InstallingTwiceGivesOneSetAndOutdatedSetsAreReplaced) {
    const auto& droid = entry("droid");
    const std::string original =
        "{\n\t\"hooks\": {\n\t\t\"Stop\": [\n\t\t\t{\"hooks\": "
        "[{\"type\": \"command\", \"command\": \"say done\"}]}\n\t\t]\n\t}\n}\n";
    setUp(droid, original);
    installer("/old").install(droid);
    EXPECT_EQ(installer("/old").status(droid), HookStatus::installed(1));
    installer("/old").install(droid);
    EXPECT_EQ(backupsOf(droid).size(), 1u) << "the second install changed nothing";
    EXPECT_EQ(installer().status(droid), HookStatus::outdated());
    installer().install(droid);
    expectInstalledOver(original, droid);
    EXPECT_EQ(readFile(config(droid)).find("/old"), std::string::npos);
    installer("/c").install(droid);
    installer("/d").install(droid);
    std::time_t seconds = static_cast<std::time_t>(now.secondsSince1970());
    char text[32];
    std::strftime(text, sizeof text, "%Y%m%d-%H%M%S", std::localtime(&seconds));
    const std::string stamp = "settings.json.vigilmoth-backup-" + std::string(text);
    EXPECT_EQ(backupsOf(droid),
              (std::vector<std::string>{stamp + "-2", stamp + "-3", stamp + "-4"}));
    // The backup holds the file as it was before that write.
    EXPECT_NE(readFile(fs::path(config(droid)).parent_path() / (stamp + "-4")).find("'/c"),
              std::string::npos);
    auto record = installer("/d").record(droid);
    ASSERT_TRUE(record && record->backups);
    EXPECT_EQ(record->backups->size(), 4u);
    installer("/d").uninstall(droid);
    EXPECT_EQ(readFile(config(droid)), original);
}

TEST_F(HookInstallerTest, ALinkedSettingsFileIsEditedWhereItLives) {
    const auto& claude = entry("claude");
    setUp(claude);
    fs::create_directories(home.path() / "dotfiles");
    const auto real = home.path() / "dotfiles/settings.json";
    writeFile(real, "{\"model\": \"opus\"}\n");
    fs::create_symlink(real, config(claude));
    const auto mode = fs::perms::owner_read | fs::perms::owner_write;
    fs::permissions(real, mode);
    installer().install(claude);
    EXPECT_TRUE(fs::is_symlink(config(claude)));
    EXPECT_EQ(installer().status(claude), HookStatus::installed(1));
    EXPECT_EQ(fs::status(real).permissions(), mode);
    EXPECT_EQ(backupsOf(claude).size(), 0u) << "no backup beside the link";
    EXPECT_FALSE(namesIn(real.parent_path(), "settings.json.vigilmoth").empty());
    installer().uninstall(claude);
    EXPECT_TRUE(fs::is_symlink(config(claude)));
    EXPECT_EQ(readFile(real), "{\"model\": \"opus\"}\n");
}

// Each guard's message is in the listing, after the guard's name.
TEST_F(HookInstallerTest, EachGuardStopsWithItsMessageAndWritesNothing) {
    const auto& claude = entry("claude");
    const std::string sonnet = "{\"model\": \"sonnet\"}\n";
    const std::pair<std::string, std::function<void()>> cases[] = {
        {"changed while editing",
         [&] {
             files.beforeRead = [&](const std::string& path, int count) {
                 if (path.ends_with("settings.json") && count == 2) writeFile(path, sonnet);
             };
         }},
        {"read-only", [&] { files.readOnly = true; }},
        {"write fails", [&] { files.failWrites = true; }},
        {"not JSON", [&] { writeFile(config(claude), "{\"model\": opus}\n"); }},
        {"hooks as an array",
         [&] {
             writeFile(config(claude), "{\n  \"hooks\": [\n    {\"event\": \"Stop\"}\n  ]\n}\n");
         }},
    };
    std::string listing;
    for (const auto& [name, arrange] : cases) {
        SCOPED_TRACE(name);
        fs::remove_all(home.path() / ".claude");
        setUp(claude, "{\"model\": \"opus\"}\n");
        files = SteppingFiles();
        arrange();
        auto before = readFile(config(claude));
        listing += name + ": " +
                   failure([&] { installer().install(claude); }, claude).value_or("-") + "\n";
        files.beforeRead = nullptr;
        // The other program's edit stands; otherwise the file is as it was.
        EXPECT_EQ(readFile(config(claude)), name == "changed while editing" ? sonnet : before);
        EXPECT_TRUE(backupsOf(claude).empty());
        EXPECT_FALSE(fs::exists(installer().recordPath(claude)));
    }
    testing::expectGolden("hooks/install-guards.txt", listing);
}

TEST_F(HookInstallerTest, RemovalRereadsBeforeDeletingAFileItCreated) {
    const auto& cursor = entry("cursor");
    const std::string theirs = "{\"model\": \"x\"}\n";
    setUp(cursor);
    installer().install(cursor);
    files.reads.clear();
    files.beforeRead = [&](const std::string& path, int count) {
        if (path.ends_with("hooks.json") && count == 2) writeFile(path, theirs);
    };
    EXPECT_EQ(failure([&] { installer().uninstall(cursor); }, cursor),
              HookInstallError(Kind::changedWhileEditing).message("~/.cursor/hooks.json"));
    files.beforeRead = nullptr;
    EXPECT_EQ(readFile(config(cursor)), theirs);
    EXPECT_TRUE(fs::exists(installer().recordPath(cursor))) << "kept for another try";
    installer().uninstall(cursor);
    EXPECT_EQ(readFile(config(cursor)), theirs);
}

TEST_F(HookInstallerTest, AnAgentThatIsNotSetUpIsLeftAlone) {
    for (const auto& target : HookCatalog::entries()) {
        SCOPED_TRACE(target.id);
        EXPECT_EQ(installer().status(target), HookStatus::configMissing());
        EXPECT_EQ(failure([&] { installer().install(target); }, target),
                  testing::worded("This agent is not set up on this Mac. ~/") + target.configPath +
                      " does not exist.");
    }
    // opencode counts as set up by its own folder under .config, not by .config itself.
    fs::create_directories(home.path() / ".config");
    EXPECT_EQ(installer().status(entry("opencode")), HookStatus::configMissing());
    EXPECT_TRUE(fs::is_empty(home.path() / ".config"));
}

TEST_F(HookInstallerTest, PluginScriptsAreOursOrLeftAlone) {
    for (const auto* id : {"opencode", "pi"}) {
        const auto& target = entry(id);
        SCOPED_TRACE(target.id);
        setUp(target);
        EXPECT_EQ(installer().status(target), HookStatus::notInstalled());
        installer().install(target);
        EXPECT_EQ(readFile(config(target)),
                  HookConfigEditor::currentScript(target, "/opt/vigilmoth"));
        auto version = target.id == "pi" ? HookCatalog::kPiExtensionVersion
                                         : HookCatalog::kOpencodePluginVersion;
        EXPECT_EQ(installer().status(target), HookStatus::installed(version));
        auto older = HookPluginHistory::source(target.id, version - 1, "/opt/vigilmoth");
        ASSERT_TRUE(older);
        writeFile(config(target), *older);
        EXPECT_EQ(installer().status(target), HookStatus::outdated());
        installer().updateOwnFiles(target);
        EXPECT_EQ(installer().status(target), HookStatus::installed(version));
        EXPECT_EQ(installer("/moved").status(target), HookStatus::outdated());
        installer().uninstall(target);
        EXPECT_FALSE(fs::exists(config(target)));
        writeFile(config(target), "export default {};\n");
        EXPECT_EQ(installer().status(target), HookStatus::notInstalled());
        EXPECT_EQ(
            failure([&] { installer().install(target); }, target),
            "~/" + target.configPath + " was not written by vigilmoth, so it did not change it.");
        installer().uninstall(target);
        EXPECT_EQ(readFile(config(target)), "export default {};\n");
    }
}

TEST_F(HookInstallerTest, RemovalDeletesOnlyThisAgentsStateFiles) {
    const auto& codex = entry("codex");
    setUp(codex);
    installer().install(codex);
    const auto states = fs::path(support()) / "hooks";
    fs::create_directories(states);
    for (const auto* name : {"codex-123.json", "codex-9.json.tmp", "claude-123.json", "codex.json"})
        writeFile(states / name, "{}");
    installer().uninstall(codex);
    EXPECT_EQ(namesIn(states),
              (std::vector<std::string>{"claude-123.json", "codex-9.json.tmp", "codex.json"}));
    EXPECT_FALSE(fs::exists(config(codex)));
}

// Records round-trip, and damaged ones are read as far as they go, never past it.
TEST(HookInstallRecordTest, RoundTripsAndReadsWhatItCan) {
    HookInstallRecord record;
    record.emptyBefore = {{}, {"hooks"}, {"hooks", "Stop"}};
    record.createdFile = true;
    record.addedVersion = true;
    record.blankBefore = std::string("\r\n\t \x00\xFF", 6);
    record.interiors = {{{"hooks"}, " \n "}, {{}, ""}};
    record.backups = {"/a/b.vigilmoth-backup-20260101-000000"};
    EXPECT_EQ(HookInstallRecord::fromJSON(record.toJSON()), record);
    const auto text = record.toJSON().dump();
    std::mt19937 random(7);
    for (int round = 0; round < 3000; ++round) {
        auto damaged = text;
        for (int edits = 0; edits < 3; ++edits) {
            damaged[random() % damaged.size()] = static_cast<char>(32 + random() % 95);
        }
        auto json = nlohmann::json::parse(damaged, nullptr, false);
        if (!json.is_discarded()) HookInstallRecord::fromJSON(json);
    }
    for (std::size_t length = 0; length < 8; ++length) {
        HookInstallRecord blank;
        blank.blankBefore = std::string(length, '\n') + std::string(length % 3, 'x');
        EXPECT_EQ(HookInstallRecord::fromJSON(blank.toJSON()), blank);
    }
    auto odd = HookInstallRecord::fromJSON(nlohmann::json::parse(
        R"({"emptyBefore": [["hooks"], [1], "x"], "createdFile": "yes", "blankBefore": "!!",
            "interiors": [{"path": ["a"], "bytes": "IA=="}, {"path": "a"}], "backups": [1, "b"]})"));
    EXPECT_EQ(odd.emptyBefore, (std::set<JSONKeyPath>{{"hooks"}}));
    EXPECT_FALSE(odd.createdFile);
    EXPECT_FALSE(odd.blankBefore);
    EXPECT_EQ(odd.interiors, (std::vector<HookInstallRecord::Interior>{{{"a"}, " "}}));
    EXPECT_EQ(odd.backups, (std::vector<std::string>{"b"}));
    EXPECT_EQ(HookInstallRecord::fromJSON(nlohmann::json::array()), HookInstallRecord{});
}

}  // namespace
}  // namespace vigilmoth
