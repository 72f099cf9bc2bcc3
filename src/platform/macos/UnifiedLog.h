#pragma once

namespace vigilmoth {

// Sends log lines to the unified log, subsystem "com.vigilmoth.app", one category per logger.
void installSystemLogSink();

}  // namespace vigilmoth
