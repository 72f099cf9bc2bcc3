#include "hooks/install/HookScripts.h"

#include "hooks/install/HookCatalog.h"
#include "hooks/install/HookPluginHistory.h"
#include "hooks/json/JSONSourceText.h"

namespace vigilmoth::HookScripts {
namespace {

// The installer compares installed files with these texts byte for byte, so every version
// must stay exactly as it was once shipped: add a version, never edit an old one.

std::string header(int version, std::string_view agentName) {
    return std::string(HookPluginHistory::kMarker) + std::to_string(version) +
           "\n// Written by vigilmoth. Turn it off in vigilmoth > Preferences > Agents.\n"
           "// It tells vigilmoth when " +
           std::string(agentName) + " works, waits for you or is done.\n";
}

std::string hookConstant(std::string_view appPath) {
    return "const hook = " + JSONSourceText::literal(HookCatalog::hookExecutable(appPath)) + ";\n";
}

constexpr std::string_view kInstance =
    R"js(Math.random().toString(36).slice(2) + Date.now().toString(36))js";

constexpr std::string_view kOpencodeNaming = R"js(
function named(event) {
  const type = event && event.type;
  const properties = (event && event.properties) || {};
  if (type === "session.status") {
    const status = properties.status;
    const word = typeof status === "string" ? status : status && status.type;
    if (word === "busy" || word === "retry") return "session.busy";
    if (word === "idle") return "session.idle";
    return null;
  }
  if (type === "session.idle" || type === "session.deleted" ||
      type === "permission.asked" || type === "permission.replied") {
    return type;
  }
  return null;
}

function sessionOf(event) {
  const properties = (event && event.properties) || {};
  const id = properties.sessionID ?? (properties.info && properties.info.id) ?? "";
  return String(id);
}
)js";

constexpr std::string_view kOpencodeV1Factory = R"js(
export const Vigilmoth = async ({ $ }) => ({
  event: async ({ event }) => {
    try {
      const name = named(event);
      if (!name) return;
      const body = JSON.stringify({ session_id: sessionOf(event) });
      await $`${hook} opencode ${name} v=1 < ${new Response(body)}`.quiet().nothrow();
    } catch {}
  },
});
)js";

constexpr std::string_view kOpencodeQueueState = R"js(let seq = 0;
let lastKey = "";
let lastAt = 0;
let queue = Promise.resolve();
)js";

constexpr std::string_view kOpencodeV2Run = R"js(
export const Vigilmoth = async ({ $ }) => {
  const run = async (name, body) => {
    try {
      await $`${hook} opencode ${name} v=2 < ${new Response(body)}`.quiet().nothrow();
    } catch {}
  };
)js";

constexpr std::string_view kOpencodeV3Run = R"js(
export const Vigilmoth = async ({ $ }) => {
  const run = async (name, body) => {
    let timer;
    const guard = new Promise((resolve) => {
      timer = setTimeout(resolve, 5000);
      if (timer && timer.unref) timer.unref();
    });
    try {
      const command = $`${hook} opencode ${name} v=3 < ${new Response(body)}`.quiet().nothrow();
      await Promise.race([Promise.resolve(command).catch(() => {}), guard]);
    } catch {
    } finally {
      clearTimeout(timer);
    }
  };
)js";

constexpr std::string_view kOpencodeHandlerStart = R"js(  return {
    event: async ({ event }) => {
      try {
        const name = named(event);
        if (!name) return;
        const session = sessionOf(event);
        const key = name + " " + session;
        const now = Date.now();
        if (key === lastKey && now - lastAt < 1000) return;
        lastKey = key;
        lastAt = now;
        seq += 1;
)js";

constexpr std::string_view kOpencodeHandlerEnd =
    R"js(        queue = queue.then(() => run(name, body)).catch(() => {});
      } catch {}
    },
  };
};
)js";

std::string opencodeQueued(int version) {
    std::string body = version >= 3
                           ? "        const body = JSON.stringify({ session_id: session, seq, ts: "
                             "now, inst });\n"
                           : "        const body = JSON.stringify({ session_id: session, seq, ts: "
                             "now });\n";
    return std::string(version >= 3 ? kOpencodeV3Run : kOpencodeV2Run) +
           std::string(kOpencodeHandlerStart) + body + std::string(kOpencodeHandlerEnd);
}

constexpr std::string_view kPiRunV1Start = R"js(
function run(name, body) {
  return new Promise((resolve) => {
    const timer = setTimeout(resolve, 5000);
    const finish = () => {
      clearTimeout(timer);
      resolve();
    };
    try {
      const child = spawn(hook, ["pi", name, "v=1"], {
)js";

constexpr std::string_view kPiRunV2Start = R"js(
function run(name, body) {
  return new Promise((resolve) => {
    let child = null;
    let timer = null;
    let done = false;
    const finish = () => {
      if (done) return;
      done = true;
      if (timer) clearTimeout(timer);
      resolve();
    };
    timer = setTimeout(() => {
      try {
        if (child) child.kill("SIGKILL");
      } catch {}
      finish();
    }, 5000);
    if (timer.unref) timer.unref();
    try {
      child = spawn(hook, ["pi", name, "v=2"], {
)js";

// Both versions spawn the hook the same way once the child is made.
constexpr std::string_view kPiRunEnd = R"js(        stdio: ["pipe", "ignore", "ignore"],
        detached: true,
      });
      child.on("close", finish);
      child.on("error", finish);
      child.unref();
      child.stdin.on("error", () => {});
      child.stdin.end(body);
    } catch {
      finish();
    }
  });
}
)js";

constexpr std::string_view kPiExtensionStart = R"js(
export default function (pi) {
  let running = false;
  let asked = false;
  let session = "";
  let lastKey = "";
  let lastAt = 0;

  const remember = (ctx) => {
    try {
      const id = ctx && ctx.sessionManager && ctx.sessionManager.getSessionId();
      if (id) session = String(id);
    } catch {}
  };

  const send = (name) => {
    const id = session || "pid-" + process.pid;
    const key = name + " " + id;
    const now = Date.now();
    if (key === lastKey && now - lastAt < 1000) return;
    lastKey = key;
    lastAt = now;
    shared.seq += 1;
)js";

constexpr std::string_view kPiExtensionEnd =
    R"js(  on(["session_start", "agent_settled", "session_shutdown"], (name) => {
    running = false;
    asked = false;
    send(name);
  });
  on(["agent_start", "turn_start", "tool_execution_start", "tool_execution_end"], (name) => {
    running = true;
    if (!asked) send(name);
  });
)js";

// Every version ends with the question and compaction handlers.
constexpr std::string_view kPiQuestionAndCompaction = R"js(  on(["ui_prompt_start"], (name) => {
    if (!running) return;
    asked = true;
    send(name);
  });
  on(["ui_prompt_end"], (name) => {
    if (!asked) return;
    asked = false;
    send(name);
  });
  on(["session_before_compact"], (name) => {
    if (!asked) send(name);
  });
  on(["session_compact", "session_compact_failed"], (name) => {
    if (!running) send(name);
  });
}
)js";

// Version 3: Pi 0.73 ends a run with agent_end and has no agent_settled. A run that ended on
// an error is tried again by Pi in a new run after 2, 4 and 8 seconds, so such an end counts
// only once no new run has started for 10 seconds.
constexpr std::string_view kPiExtensionEndV3 = R"js(  let ending = null;
  const keepRunning = () => {
    if (ending) clearTimeout(ending);
    ending = null;
  };
  const settle = (name) => {
    keepRunning();
    running = false;
    asked = false;
    send(name);
  };

  on(["session_start", "agent_settled", "session_shutdown"], settle);
  on(["agent_end"], (name, event) => {
    const messages = (event && event.messages) || [];
    const last = messages[messages.length - 1];
    if (!last || last.stopReason !== "error") {
      settle(name);
      return;
    }
    keepRunning();
    ending = setTimeout(() => {
      ending = null;
      try {
        settle(name);
      } catch {}
    }, 10000);
    if (ending.unref) ending.unref();
  });
  on(["agent_start", "turn_start", "tool_execution_start", "tool_execution_end"], (name) => {
    keepRunning();
    running = true;
    if (!asked) send(name);
  });
)js";

// Every version queues the run, then listens through `on`; version 3 hands the event on.
std::string piQueueAndListener(int version) {
    return std::string(
               R"js(    shared.queue = shared.queue.then(() => run(name, body)).catch(() => {});
  };

  const on = (names, handle) => {
    for (const name of names) {
      try {
        pi.on(name, (event, ctx) => {
          try {
            remember(ctx);
            handle(name)js") +
           (version >= 3 ? ", event" : "") + R"js();
          } catch {}
        });
      } catch {}
    }
  };

)js";
}

// Versions 2 and 3 differ only in the version they pass.
std::string piRunStart(int version) {
    if (version < 2) return std::string(kPiRunV1Start);
    std::string text(kPiRunV2Start);
    const std::string_view passed = "\"v=2\"";
    text.replace(text.find(passed), passed.size(), "\"v=" + std::to_string(version) + "\"");
    return text;
}

}  // namespace

std::string opencodePlugin(int version, std::string_view appPath) {
    std::string text = header(version, "opencode") + "\n" + hookConstant(appPath);
    if (version >= 3) text += "const inst = " + std::string(kInstance) + ";\n";
    if (version >= 2) text += kOpencodeQueueState;
    text += kOpencodeNaming;
    text += version >= 2 ? opencodeQueued(version) : std::string(kOpencodeV1Factory);
    return text;
}

std::string piExtension(int version, std::string_view appPath) {
    std::string state = "const shared = (globalThis[Symbol.for(\"vigilmoth.pi.v" +
                        std::to_string(version) + "\")] ?\?= {\n  queue: Promise.resolve(),\n" +
                        "  seq: 0,\n";
    if (version >= 2) state += "  inst: " + std::string(kInstance) + ",\n";
    state += "});\n";
    std::string body = version >= 2
                           ? "    const body = JSON.stringify({ session_id: id, seq: shared.seq, "
                             "ts: now, inst: shared.inst });\n"
                           : "    const body = JSON.stringify({ session_id: id, seq: shared.seq, "
                             "ts: now });\n";
    return header(version, "Pi") + "\nimport { spawn } from \"node:child_process\";\n\n" +
           hookConstant(appPath) + state + piRunStart(version) + std::string(kPiRunEnd) +
           std::string(kPiExtensionStart) + body + piQueueAndListener(version) +
           std::string(version >= 3 ? kPiExtensionEndV3 : kPiExtensionEnd) +
           std::string(kPiQuestionAndCompaction);
}

}  // namespace vigilmoth::HookScripts
