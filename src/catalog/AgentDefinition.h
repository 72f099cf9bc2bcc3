#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <variant>
#include <vector>

#include "base/NameCoded.h"

namespace vigilmoth {

// How a matched process takes part in its agent.
enum class AgentRole {
    session,             // the agent's own interactive process
    engine,              // a long-running back end that does the agent's work
    helper,              // auxiliary, never a session by itself
    helperMaybeSession,  // a helper that counts as the session when no other one exists
};

template <>
struct NameCoded<AgentRole> {
    static constexpr std::array codedNames{
        std::pair{AgentRole::session, std::string_view("session")},
        std::pair{AgentRole::engine, std::string_view("engine")},
        std::pair{AgentRole::helper, std::string_view("helper")},
        std::pair{AgentRole::helperMaybeSession, std::string_view("maybeSession")},
    };
    static constexpr std::string_view unknownMessage = "Unknown AgentRole ";
};

// The short word under which a role is written in records and lab output.
inline std::string_view roleWord(AgentRole role) {
    return *codedName(role);
}

using WordSet = std::unordered_set<std::string>;

// What a process must look like, by name or executable image.
struct ProcessMatcher {
    struct Name {
        std::string name;
        bool operator==(const Name&) const = default;
    };
    struct ExecutableSuffix {
        std::string suffix;
        bool operator==(const ExecutableSuffix&) const = default;
    };
    struct ExecutableContains {
        std::string text;
        bool operator==(const ExecutableContains&) const = default;
    };
    struct Executable {
        std::string contains;
        std::string title;
        bool operator==(const Executable&) const = default;
    };
    struct AppBundle {
        std::optional<std::string> bundle;
        std::string relativePath;
        bool operator==(const AppBundle&) const = default;
    };
    using Case = std::variant<Name, ExecutableSuffix, ExecutableContains, Executable, AppBundle>;

    Case value;

    static ProcessMatcher name(std::string name) { return {Name{std::move(name)}}; }
    static ProcessMatcher executableSuffix(std::string suffix) {
        return {ExecutableSuffix{std::move(suffix)}};
    }
    static ProcessMatcher executableContains(std::string text) {
        return {ExecutableContains{std::move(text)}};
    }
    static ProcessMatcher executable(std::string contains, std::string title) {
        return {Executable{std::move(contains), std::move(title)}};
    }
    static ProcessMatcher appBundle(std::optional<std::string> bundle, std::string relativePath) {
        return {AppBundle{std::move(bundle), std::move(relativePath)}};
    }

    bool operator==(const ProcessMatcher&) const = default;
};

// What a process's arguments must look like.
struct ArgumentPattern {
    struct Leading {
        std::vector<std::string> words;
        bool operator==(const Leading&) const = default;
    };
    struct Contains {
        std::vector<std::string> words;
        bool operator==(const Contains&) const = default;
    };
    struct AnySuffix {
        std::string suffix;
        bool operator==(const AnySuffix&) const = default;
    };
    struct FirstIsOne {
        WordSet of;
        bool operator==(const FirstIsOne&) const = default;
    };
    struct OneFile {
        WordSet extensions;
        bool operator==(const OneFile&) const = default;
    };
    struct Any {
        bool operator==(const Any&) const = default;
    };
    using Case = std::variant<Leading, Contains, AnySuffix, FirstIsOne, OneFile, Any>;

    Case value = Any{};

    static ArgumentPattern leading(std::vector<std::string> words) {
        return {Leading{std::move(words)}};
    }
    static ArgumentPattern contains(std::vector<std::string> words) {
        return {Contains{std::move(words)}};
    }
    static ArgumentPattern anySuffix(std::string suffix) { return {AnySuffix{std::move(suffix)}}; }
    static ArgumentPattern firstIsOne(WordSet of) { return {FirstIsOne{std::move(of)}}; }
    static ArgumentPattern oneFile(WordSet extensions) { return {OneFile{std::move(extensions)}}; }
    static ArgumentPattern any() { return {Any{}}; }

    bool operator==(const ArgumentPattern&) const = default;
};

// One way to recognise an agent's process: any one matcher of a definition suffices.
struct AgentMatcher {
    ProcessMatcher process;
    ArgumentPattern arguments = ArgumentPattern::any();
    std::vector<ArgumentPattern> unless;  // the matcher fails when any of these matches

    bool operator==(const AgentMatcher&) const = default;
};

// A matched process that is only a helper or engine of its agent, not a session.
struct AgentExclusion {
    std::optional<ProcessMatcher> process;  // absent: any process of the agent
    ArgumentPattern arguments;
    AgentRole role = AgentRole::helper;

    bool operator==(const AgentExclusion&) const = default;
};

struct AgentDefinition {
    // How much can be known of the agent's state.
    enum class Level { state, activity, generic };
    enum class Kind { cli, desktop };

    std::string id;
    std::string displayName;
    Level level = Level::activity;
    Kind kind = Kind::cli;
    std::vector<AgentMatcher> matchers;
    std::vector<AgentExclusion> exclusions;
    bool verified = false;

    // The lower-cased names of the `name` matchers, in order.
    std::vector<std::string> processNames() const;

    bool operator==(const AgentDefinition&) const = default;
};

template <>
struct NameCoded<AgentDefinition::Level> {
    using Level = AgentDefinition::Level;
    static constexpr std::array codedNames{
        std::pair{Level::state, std::string_view("state")},
        std::pair{Level::activity, std::string_view("activity")},
        std::pair{Level::generic, std::string_view("generic")},
    };
    static constexpr std::string_view unknownMessage = "Unknown Level ";
};

template <>
struct NameCoded<AgentDefinition::Kind> {
    using Kind = AgentDefinition::Kind;
    static constexpr std::array codedNames{
        std::pair{Kind::cli, std::string_view("cli")},
        std::pair{Kind::desktop, std::string_view("desktop")},
    };
    static constexpr std::string_view unknownMessage = "Unknown Kind ";
};

}  // namespace vigilmoth
