#pragma once

#include "ServerHttp.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

#include <algorithm>
#include <iterator>
#include <vector>

// One event of a turn's stream as the client reads it.
struct StreamEvent {
    QString name;
    QJsonObject data;
};

// A turn's stream read the way the client reads it: "event: " names the next "data: " line,
// other lines are ignored, "data: [DONE]" ends it.
struct StreamedTurn {
    int status = 0;
    std::vector<StreamEvent> events;
    bool done = false;

    std::vector<StreamEvent> named(const QString& name) const
    {
        std::vector<StreamEvent> out;
        std::copy_if(events.begin(), events.end(), std::back_inserter(out),
            [&](const StreamEvent& e) { return e.name == name; });
        return out;
    }
    QJsonObject only(const QString& name) const
    {
        const auto found = named(name);
        if (found.size() != 1)
            qWarning() << "expected one" << name << "event, got" << found.size();
        return found.empty() ? QJsonObject() : found.front().data;
    }
    QString text() const
    {
        QString out;
        for (const StreamEvent& e : named(QStringLiteral("text_delta")))
            out += e.data.value(QStringLiteral("text")).toString();
        return out;
    }
    QStringList names() const
    {
        QStringList out;
        for (const StreamEvent& e : events)
            out.append(e.name);
        return out;
    }
};

inline StreamedTurn readStream(const Reply& reply)
{
    StreamedTurn turn;
    turn.status = reply.status;
    QString pending;
    for (const QString& line : QString::fromStdString(reply.body).split(u'\n')) {
        if (line.startsWith(QLatin1String("event: "))) {
            pending = line.mid(7);
        } else if (line.startsWith(QLatin1String("data: "))) {
            const QString rest = line.mid(6);
            if (rest == QLatin1String("[DONE]")) {
                turn.done = true;
                break;
            }
            turn.events.push_back({ pending, QJsonDocument::fromJson(rest.toUtf8()).object() });
            pending.clear();
        }
    }
    return turn;
}
