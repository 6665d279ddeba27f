#pragma once

#include <chrono>
#include <functional>
#include <string>

namespace storage::host {

/// Does in a process of its own what a plug-in might not survive, and tells what came of it in one line. This program must
/// have no other thread.
/// @param plugin  path, for the message
/// @param work    with the plug-in, which it loads itself
/// @param limit   after which it is ended
/// @throws PluginError when the work throws or the process does not end well
void tryInProcess(const std::string& plugin, const std::function<void()>& work,
                  std::chrono::milliseconds limit);

} // namespace storage::host
