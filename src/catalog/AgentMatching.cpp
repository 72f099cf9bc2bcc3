#include "catalog/AgentMatching.h"

#include <algorithm>

#include "catalog/CommandText.h"

namespace vigilmoth::AgentMatching {
namespace {

using Words = std::vector<std::string>;

bool contains(const Words& words, std::string_view word) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

struct ProcessTest {
    const ProcessInfoRow& row;
    const CommandDecoding::Command& command;

    bool operator()(const ProcessMatcher::Name& matcher) const {
        return contains(command.names, CommandText::lowered(matcher.name));
    }
    bool operator()(const ProcessMatcher::ExecutableSuffix& matcher) const {
        return row.executablePath.ends_with(matcher.suffix);
    }
    bool operator()(const ProcessMatcher::ExecutableContains& matcher) const {
        return row.executablePath.find(matcher.text) != std::string::npos;
    }
    // The path alone is not enough: the process must also show itself under the title (or
    // under its own executable's name, or no name at all).
    bool operator()(const ProcessMatcher::Executable& matcher) const {
        if (row.executablePath.find(matcher.contains) == std::string::npos) return false;
        std::string shown =
            row.arguments.empty() ? std::string() : CommandText::loweredBaseName(row.arguments[0]);
        return shown.empty() || CommandText::startsWith(shown, matcher.title) ||
               shown == CommandText::loweredBaseName(row.executablePath);
    }
    bool operator()(const ProcessMatcher::AppBundle& matcher) const {
        std::string suffix = matcher.bundle ? "/" + *matcher.bundle + "/" + matcher.relativePath
                                            : ".app/" + matcher.relativePath;
        return row.executablePath.ends_with(suffix);
    }
};

struct ArgumentTest {
    const Words& arguments;

    bool operator()(const ArgumentPattern::Leading& pattern) const {
        return arguments.size() >= pattern.words.size() &&
               std::equal(pattern.words.begin(), pattern.words.end(), arguments.begin());
    }
    bool operator()(const ArgumentPattern::Contains& pattern) const {
        return std::all_of(pattern.words.begin(), pattern.words.end(),
                           [&](const std::string& word) { return contains(arguments, word); });
    }
    bool operator()(const ArgumentPattern::AnySuffix& pattern) const {
        return std::any_of(arguments.begin(), arguments.end(), [&](const std::string& argument) {
            return argument.ends_with(pattern.suffix);
        });
    }
    bool operator()(const ArgumentPattern::FirstIsOne& pattern) const {
        return !arguments.empty() && pattern.of.contains(arguments.front());
    }
    bool operator()(const ArgumentPattern::OneFile& pattern) const {
        if (arguments.size() != 1 || CommandText::startsWith(arguments.front(), "-")) return false;
        std::string_view base = CommandText::baseName(arguments.front());
        if (base.find('.', 1) == std::string_view::npos) return false;
        return pattern.extensions.contains(std::string(base.substr(base.rfind('.') + 1)));
    }
    bool operator()(const ArgumentPattern::Any&) const { return true; }
};

}  // namespace

bool matches(const ProcessInfoRow& row, const CommandDecoding::Command& command,
             const ProcessMatcher& matcher) {
    return std::visit(ProcessTest{row, command}, matcher.value);
}

bool matches(const CommandDecoding::Command& command, const ArgumentPattern& pattern) {
    return std::visit(ArgumentTest{command.arguments}, pattern.value);
}

std::optional<AgentRole> role(const ProcessInfoRow& row, const CommandDecoding::Command& command,
                              const AgentDefinition& definition) {
    bool matched = std::any_of(
        definition.matchers.begin(), definition.matchers.end(), [&](const AgentMatcher& matcher) {
            return matches(row, command, matcher.process) && matches(command, matcher.arguments) &&
                   std::none_of(
                       matcher.unless.begin(), matcher.unless.end(),
                       [&](const ArgumentPattern& pattern) { return matches(command, pattern); });
        });
    if (!matched) return std::nullopt;
    for (const auto& exclusion : definition.exclusions) {
        if (exclusion.process && !matches(row, command, *exclusion.process)) continue;
        if (matches(command, exclusion.arguments)) return exclusion.role;
    }
    // A desktop application's own process does the work; a command-line one is the session.
    return definition.kind == AgentDefinition::Kind::desktop ? AgentRole::engine
                                                             : AgentRole::session;
}

}  // namespace vigilmoth::AgentMatching
