#pragma once

#include <stdexcept>

/// A plug-in is missing or cannot be used. The text names the plug-in and the reason.
class PluginError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};
