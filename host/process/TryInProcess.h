#pragma once

#include "host/process/CheckProcess.h"

#include <chrono>
#include <functional>
#include <string>

namespace storage::host {

/// Runs code in a child process, because the plug-in might crash.
/// Precondition: this program has no other thread.
/// @param plugin  path, for the message
/// @param work    loads the plug-in and uses it
/// @param limit   time limit, after which the child process is killed
/// @param where   called after a crash or hang: what the process was doing, for the message
/// @throws PluginError when the work throws or the process does not exit with status 0
void tryInProcess(
    const std::string& plugin, const std::function<void()>& work, std::chrono::milliseconds limit,
    CheckProcess::Where where = [] { return std::string(); });

} // namespace storage::host
