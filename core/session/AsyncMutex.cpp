#include "AsyncMutex.h"

#include <qcoro/qcorosignal.h>

QCoro::Task<AsyncMutex::Guard> AsyncMutex::lock()
{
    while (m_locked)
        co_await qCoro(this, &AsyncMutex::released);
    m_locked = true;
    co_return Guard(this);
}

void AsyncMutex::unlock()
{
    m_locked = false;
    // Wake waiters from the event loop, not from inside the holder's clean-up.
    QMetaObject::invokeMethod(this, &AsyncMutex::released, Qt::QueuedConnection);
}
