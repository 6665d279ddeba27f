#include "host/validate/rules/Profile.h"

namespace storage::host {

const char* profileName(Profile profile) {
    return profile == Profile::AnyProvider ? "any" : "in-memory";
}

std::vector<std::string> profileNames() {
    return {profileName(Profile::AnyProvider), profileName(Profile::InMemoryProvider)};
}

Profile profileNamed(const std::string& name) {
    return name == profileName(Profile::AnyProvider) ? Profile::AnyProvider : Profile::InMemoryProvider;
}

} // namespace storage::host
