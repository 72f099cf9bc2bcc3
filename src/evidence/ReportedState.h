#pragma once

namespace vigilmoth {

// What an agent reports it is doing.
enum class ReportedState { working, waitingForUser, idle };

}  // namespace vigilmoth
