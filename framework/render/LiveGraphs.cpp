#include "framework/render/LiveGraphs.h"

#include <mutex>
#include <unordered_set>

namespace SubstanceAir {

namespace {

struct Registry {
    std::mutex mutex;
    std::unordered_set<uint64_t> alive;
};

// Never destroyed: graph instances held by static objects may die after it would.
Registry& registry() {
    static Registry* kept = new Registry;
    return *kept;
}

} // namespace

void graphCreated(uint64_t identity) {
    Registry& r = registry();
    const std::lock_guard<std::mutex> lock(r.mutex);
    r.alive.insert(identity);
}

void graphDestroyed(uint64_t identity) {
    Registry& r = registry();
    const std::lock_guard<std::mutex> lock(r.mutex);
    r.alive.erase(identity);
}

bool anyGraphAlive(const std::set<uint64_t>& identities) {
    Registry& r = registry();
    const std::lock_guard<std::mutex> lock(r.mutex);
    for (const uint64_t identity : identities) {
        if (r.alive.count(identity) != 0) {
            return true;
        }
    }
    return false;
}

} // namespace SubstanceAir
