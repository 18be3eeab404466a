#pragma once

#include "session/StoreContext.h"

class AgentClient;
class QSettings;
class TimeCache;

// What every chat store is built with; tests give each device its own.
struct ChatStoreContext {
    StoreContext store;
    AgentClient* agent = nullptr; // null: the process-wide agent client
    QSettings* settings = nullptr; // the user defaults: resume ids, sync bookkeeping; required
    TimeCache* timeCache = nullptr; // invalidated when a time card is confirmed; may be null
};
