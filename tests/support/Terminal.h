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

    enum class Mode {
        Keys,  ///< a program that edits lines takes each key
        Lines, ///< the terminal hands over whole lines, and knows a key for the end of the input
    };

    /// Waits until a program has chosen a mode: it prints its prompt before. Fails the test after a minute.
    void waitFor(Mode mode) const;

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
