#pragma once

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

// A request to move the shell to an organ's sub-screen.
struct NavIntent {
    Q_GADGET
    QML_VALUE_TYPE(navIntent)
    Q_PROPERTY(QString organRaw MEMBER organRaw)
    Q_PROPERTY(QString sub MEMBER sub)

public:
    QString organRaw;
    QString sub;

    bool operator==(const NavIntent&) const = default;
};

// A range waiting for the analysis screen of its domain ("time", "finance").
struct AnalysisRange {
    Q_GADGET
    QML_VALUE_TYPE(analysisRange)
    Q_PROPERTY(QString fromISO MEMBER fromISO)
    Q_PROPERTY(QString toISO MEMBER toISO)
    Q_PROPERTY(QString label MEMBER label)
    Q_PROPERTY(QString domain MEMBER domain)

public:
    QString fromISO;
    QString toISO;
    QString label;
    QString domain;

    bool operator==(const AnalysisRange&) const = default;
};
