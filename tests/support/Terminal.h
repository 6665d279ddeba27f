#pragma once

#include <string>

/// A pseudoterminal. The test controls the keyboard side.
class Terminal {
public:
    /// May be unavailable, see `exists`.
    Terminal();
    ~Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    bool exists() const { return !path_.empty(); }

    /// Connects standard input, output and error of the calling process to the terminal.
    void connect() const;

    void type(const std::string& keys) const;

    enum class Mode {
        Keys,  ///< raw: a line editor receives each key
        Lines, ///< canonical: the terminal returns whole lines and has an end-of-file key
    };

    /// Waits until a program has set the mode, which it does after printing its prompt. Fails the test after
    /// a minute.
    void waitFor(Mode mode) const;

    /// Returns the output of programs up to and including `text`. Fails the test if they end first, or print
    /// nothing for a minute.
    std::string readUntil(const std::string& text);

    /// Readers see the end of the input from now on.
    void hangUp();

private:
    int keyboard_;
    std::string path_;
    std::string unread_;
};
