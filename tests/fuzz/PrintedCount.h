#pragma once

#include <iostream>

/// Counts events over all inputs and prints the total at exit.
class PrintedCount {
public:
    explicit PrintedCount(const char* what) : what_(what) {}
    PrintedCount(const PrintedCount&) = delete;
    PrintedCount& operator=(const PrintedCount&) = delete;
    ~PrintedCount() { std::cout << count_ << ' ' << what_ << std::endl; }

    void add(unsigned long long number) { count_ += number; }

private:
    const char* what_;
    unsigned long long count_ = 0;
};
