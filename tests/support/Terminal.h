#pragma once

#include <string>

/// A pseudo terminal with a test at its keyboard.
class Terminal {
public:
    /// May be not available, see `exists`.
    Terminal();
    ~Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    bool exists() const { return !path_.empty(); }

    /// Makes the terminal the standard input, output and error stream of the calling process.
    void connect() const;

    void type(const std::string& keys) const;

    /// Waits until the terminal hands over whole lines, and knows the end of the input, as a program that edits no lines has it.
    /// Fails the test after a minute.
    void waitForLineMode() const;

    /// What programs print until they have printed `text`, with it. Fails the test when they end or print nothing for a
    /// minute before that.
    std::string readUntil(const std::string& text);

    /// Programs that read find the end of the input from here on.
    void hangUp();

private:
    int keyboard_;
    std::string path_;
    std::string unread_;
};
