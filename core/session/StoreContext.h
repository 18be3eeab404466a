#pragma once

#include "ClientPaths.h"
#include "Clock.h"

#include <memory>

class LumenAPIClient;

// What every store is built with, so tests can give each store its own server and folder.
struct StoreContext {
    LumenAPIClient* api = nullptr;
    ClientPaths paths;
    std::shared_ptr<const Clock> clock = SystemClock::shared();
};
