#include "Rhythm.h"

Rhythm::Rhythm(Mode mode, QObject* parent)
    : QObject(parent)
    , m_mode(mode)
{
    if (m_mode == Mode::timer) {
        m_timer = new QTimer(this);
        connect(m_timer, &QTimer::timeout, this, &Rhythm::tick);
    }
}

void Rhythm::start(std::chrono::milliseconds interval)
{
    m_interval = interval;
    m_active = true;
    if (m_timer)
        m_timer->start(interval);
}

void Rhythm::stop()
{
    m_active = false;
    if (m_timer)
        m_timer->stop();
}

RhythmFactory timerRhythms()
{
    return [](QObject* owner) { return new Rhythm(Rhythm::Mode::timer, owner); };
}
