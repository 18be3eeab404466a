#pragma once

#include "ForegroundSource.h"

#include <QByteArray>

#include <memory>

// The active window of an X11 display: _NET_ACTIVE_WINDOW where a window manager keeps it,
// the input focus otherwise; its _NET_WM_NAME (or WM_NAME), WM_CLASS and _NET_WM_PID; idle time
// from the MIT-SCREEN-SAVER extension. Without a display it keeps saying so and trying again.
class X11ForegroundSource final : public ForegroundSource {
public:
    // An empty display name means $DISPLAY.
    explicit X11ForegroundSource(QByteArray displayName = {});
    ~X11ForegroundSource() override;

    ProbeSample sample() override;
    SourceState state() const override { return m_state; }

private:
    struct Connection;
    bool connect();

    QByteArray m_displayName;
    std::unique_ptr<Connection> m_connection;
    SourceState m_state;
};
