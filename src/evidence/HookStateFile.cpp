#include "evidence/HookStateFile.h"

#include <nlohmann/json.hpp>

#include "evidence/JSONFields.h"

namespace vigilmoth {
namespace {

using nlohmann::json;

std::optional<HookStateFile::Session> decodeSession(const json& value) {
    if (!value.is_object()) return std::nullopt;
    auto state = value.find("state");
    auto event = value.find("event");
    auto at = value.find("at");
    if (state == value.end() || !state->is_string() || event == value.end() ||
        !event->is_string() || at == value.end() || !at->is_number()) {
        return std::nullopt;
    }
    HookStateFile::Session session{state->get<std::string>(),
                                   event->get<std::string>(),
                                   at->get<double>(),
                                   std::nullopt,
                                   std::nullopt,
                                   std::nullopt};
    if (auto ts = value.find("ts"); ts != value.end()) {
        if (!ts->is_number()) return std::nullopt;
        session.ts = ts->get<double>();
    }
    if (auto seq = value.find("seq"); seq != value.end()) {
        session.seq = JSONFields::integerValue<int64_t>(*seq);
        if (!session.seq) return std::nullopt;
    }
    if (auto inst = value.find("inst"); inst != value.end()) {
        if (!inst->is_string()) return std::nullopt;
        session.inst = inst->get<std::string>();
    }
    return session;
}

}  // namespace

uint64_t HookStateFile::fnv1a(std::string_view bytes) {
    uint64_t hash = 0xcbf29ce484222325ULL;
    for (unsigned char byte : bytes) {
        hash ^= byte;
        hash *= 0x100000001b3ULL;
    }
    return hash;
}

std::string HookStateFile::sessionKey(const std::optional<std::string>& sessionID) {
    if (!sessionID || sessionID->empty()) return "none";
    static constexpr char kDigits[] = "0123456789abcdef";
    uint64_t hash = fnv1a(*sessionID);
    std::string key(16, '0');
    for (int index = 15; index >= 0; --index) {
        key[static_cast<size_t>(index)] = kDigits[hash & 0xf];
        hash >>= 4;
    }
    return key;
}

std::string HookStateFile::defaultDirectory(const PathEnvironment& paths) {
    return WellKnownPaths::applicationSupport(paths) + "/hooks";
}

std::string HookStateFile::directory(const PathEnvironment& paths,
                                     const std::optional<std::string>& hooksDirVariable) {
    if (hooksDirVariable && !hooksDirVariable->empty()) return *hooksDirVariable;
    return defaultDirectory(paths);
}

std::string HookStateFile::fileName(std::string_view agent, int32_t pid) {
    return std::string(agent) + "-" + std::to_string(pid) + ".json";
}

std::optional<HookStateFile> HookStateFile::decode(std::string_view text) {
    json root = parseJSON(text).value_or(json());
    if (!root.is_object()) return std::nullopt;
    auto v = root.find("v");
    auto agent = root.find("agent");
    auto pid = root.find("pid");
    auto start = root.find("start");
    auto sessions = root.find("sessions");
    if (v == root.end() || agent == root.end() || !agent->is_string() || pid == root.end() ||
        start == root.end() || !start->is_number() || sessions == root.end() ||
        !sessions->is_object()) {
        return std::nullopt;
    }
    auto version = JSONFields::integerValue<int>(*v);
    auto processID = JSONFields::integerValue<int32_t>(*pid);
    if (!version || !processID) return std::nullopt;
    HookStateFile file{*version, agent->get<std::string>(), *processID, start->get<double>(), {}};
    for (const auto& [key, value] : sessions->items()) {
        auto session = decodeSession(value);
        if (!session) return std::nullopt;
        file.sessions.emplace(key, std::move(*session));
    }
    return file;
}

std::string HookStateFile::encode() const {
    nlohmann::ordered_json sessionsJSON = nlohmann::ordered_json::object();
    for (const auto& [key, session] : sessions) {
        nlohmann::ordered_json entry{
            {"state", session.state}, {"event", session.event}, {"at", session.at}};
        if (session.ts) entry["ts"] = *session.ts;
        if (session.seq) entry["seq"] = *session.seq;
        if (session.inst) entry["inst"] = *session.inst;
        sessionsJSON[key] = std::move(entry);
    }
    nlohmann::ordered_json root{{"v", v},
                                {"agent", agent},
                                {"pid", pid},
                                {"start", start},
                                {"sessions", std::move(sessionsJSON)}};
    // Text that came from the agent may not be UTF-8; it must not stop the file being written.
    return root.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

}  // namespace vigilmoth
