#pragma once

#include <QObject>
#include <QPointer>
#include <QTimer>

#include <chrono>
#include <functional>
#include <memory>

// A repeating tick. In the app it runs on a QTimer; a manual one only ticks when `fire()` is
// called, so tests drive rhythms of seconds without waiting for them.
class Rhythm : public QObject {
    Q_OBJECT

public:
    enum class Mode { timer, manual };

    explicit Rhythm(Mode mode = Mode::timer, QObject* parent = nullptr);

    void start(std::chrono::milliseconds interval);
    void stop();
    bool isActive() const { return m_active; }
    std::chrono::milliseconds interval() const { return m_interval; }
    // Ticks now, whatever the mode.
    void fire() { emit tick(); }

signals:
    void tick();

private:
    Mode m_mode;
    QTimer* m_timer = nullptr;
    bool m_active = false;
    std::chrono::milliseconds m_interval { 0 };
};

// Makes the rhythms of a view model; tests hand in one that makes manual rhythms and keeps them.
using RhythmFactory = std::function<Rhythm*(QObject* owner)>;

RhythmFactory timerRhythms();
