#include "kivrender/shader/kivliveshaders.h"

#include <unordered_map>

namespace {

enum class State { live, retired };

// Never destroyed: plug-ins may destroy their objects while the process ends.
std::unordered_map<const KivShader*, State>& states() {
    static auto* all = new std::unordered_map<const KivShader*, State>;
    return *all;
}

} // namespace

void KivLiveShaders::add(const KivShader* shader) {
    states()[shader] = State::live;
}

void KivLiveShaders::remove(const KivShader* shader) {
    states().erase(shader);
}

bool KivLiveShaders::contains(const KivShader* shader) {
    const auto found = states().find(shader);
    return found != states().end() && found->second == State::live;
}

void KivLiveShaders::retire(const KivShader* shader) {
    const auto found = states().find(shader);
    if (found != states().end()) {
        found->second = State::retired;
    }
}

bool KivLiveShaders::revive(const KivShader* shader) {
    const auto found = states().find(shader);
    if (found == states().end()) {
        return false;
    }
    found->second = State::live;
    return true;
}
