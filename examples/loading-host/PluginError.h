#pragma once

#include <stdexcept>

/// A plug-in that is not there or cannot be used. The text says which, and why.
class PluginError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};
