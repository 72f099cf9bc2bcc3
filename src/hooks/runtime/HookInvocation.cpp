#include "hooks/runtime/HookInvocation.h"

#include <charconv>
#include <istream>
#include <limits>
#include <nlohmann/json.hpp>

#include "hooks/HookEvents.h"

namespace vigilmoth {
namespace {

using nlohmann::json;

// Keeps only the scalar members of the top-level object that a hook reads; nested values are
// walked past without being built.
class TopLevelFields : public nlohmann::json_sax<json> {
public:
    explicit TopLevelFields(HookInput& input) : input_(input) {}

    bool null() override { return true; }
    bool boolean(bool) override { return true; }
    bool number_integer(number_integer_t value) override {
        if (depth_ == 1 && key_ == "seq") input_.seq = value;
        return number(static_cast<double>(value));
    }
    bool number_unsigned(number_unsigned_t value) override {
        if (depth_ == 1 && key_ == "seq" &&
            value <= static_cast<number_unsigned_t>(std::numeric_limits<int64_t>::max())) {
            input_.seq = static_cast<int64_t>(value);
        }
        return number(static_cast<double>(value));
    }
    bool number_float(number_float_t value, const string_t&) override { return number(value); }
    bool string(string_t& value) override {
        if (depth_ != 1) return true;
        if (key_ == "session_id") {
            sessionID_ = value;
        } else if (key_ == "conversation_id") {
            conversationID_ = value;
        } else if (key_ == "sessionId") {
            camelSessionID_ = value;
        } else if (key_ == "notification_type") {
            input_.notificationType = value;
        } else if (key_ == "inst") {
            input_.inst = value;
        }
        return true;
    }
    bool binary(binary_t&) override { return true; }
    bool start_object(std::size_t) override { return enter(true); }
    bool end_object() override { return leave(); }
    bool start_array(std::size_t) override { return enter(false); }
    bool end_array() override { return leave(); }
    bool key(string_t& value) override {
        if (depth_ == 1) key_ = value;
        return true;
    }
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override {
        return false;
    }

    bool wasObject() const { return rootWasObject_; }
    std::optional<std::string> sessionID() const {
        if (sessionID_) return sessionID_;
        if (conversationID_) return conversationID_;
        return camelSessionID_;
    }

private:
    bool number(double value) {
        if (depth_ == 1 && key_ == "ts") input_.ts = value;
        return true;
    }
    bool enter(bool object) {
        if (depth_ == 0) rootWasObject_ = object;
        ++depth_;
        if (depth_ == 2) key_.clear();
        return true;
    }
    bool leave() {
        --depth_;
        return true;
    }

    HookInput& input_;
    int depth_ = 0;
    bool rootWasObject_ = false;
    std::string key_;
    std::optional<std::string> sessionID_;
    std::optional<std::string> conversationID_;
    std::optional<std::string> camelSessionID_;
};

std::optional<int> versionArgument(std::string_view argument) {
    if (!argument.starts_with("v=")) return std::nullopt;
    argument.remove_prefix(2);
    int version = 0;
    auto [end, error] =
        std::from_chars(argument.data(), argument.data() + argument.size(), version);
    if (error != std::errc() || end != argument.data() + argument.size() || version < 1) {
        return std::nullopt;
    }
    return version;
}

template <typename Source>
HookInput parsed(Source&& source) {
    HookInput input;
    TopLevelFields fields(input);
    bool complete = json::sax_parse(std::forward<Source>(source), &fields,
                                    json::input_format_t::json, true, false);
    if (!complete || !fields.wasObject()) return {};
    input.sessionID = fields.sessionID();
    return input;
}

}  // namespace

std::optional<HookInvocation> HookInvocation::parse(const std::vector<std::string>& arguments) {
    if (arguments.size() < 2 || arguments[1].empty()) return std::nullopt;
    if (HookEvents::rules(arguments[0]).empty()) return std::nullopt;
    HookInvocation invocation{arguments[0], arguments[1], 1};
    if (arguments.size() >= 3) {
        auto version = versionArgument(arguments[2]);
        if (!version) return std::nullopt;
        invocation.version = *version;
    }
    return invocation;
}

HookInput HookInput::parse(std::string_view text) {
    return parsed(text);
}

HookInput HookInput::parse(std::istream& stream) {
    return parsed(stream);
}

}  // namespace vigilmoth
