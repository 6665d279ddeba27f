#pragma once

#include <fstream>
#include <string>

/// State of the process or thread whose folder in procfs is `folder`: 'S' if it sleeps, 'T' if stopped, 'Z'
/// if it has ended and was not waited for, '-' if it does not exist.
inline char taskState(const std::string& folder) {
    std::string number;
    std::string name;
    char state = '-';
    std::ifstream(folder + "/stat") >> number >> name >> state;
    return state;
}
