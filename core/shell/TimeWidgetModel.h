#pragma once

#include <QObject>
#include <QPointer>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

class AppState;

// The time widget of the right pane: today's confirmed time in total and by category, from
// what the time store already holds.
class TimeWidgetModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(AppState* appState READ appState WRITE setAppState NOTIFY appStateChanged)
    Q_PROPERTY(QString totalText READ totalText NOTIFY summaryChanged)
    Q_PROPERTY(int totalMinutes READ totalMinutes NOTIFY summaryChanged)
    Q_PROPERTY(QVariantList categoryRows READ categoryRows NOTIFY summaryChanged)
    Q_PROPERTY(int entryCount READ entryCount NOTIFY summaryChanged)

public:
    static constexpr int maxRows = 4;

    explicit TimeWidgetModel(QObject* parent = nullptr);

    AppState* appState() const { return m_appState; }
    void setAppState(AppState* appState);
    QString totalText() const;
    int totalMinutes() const { return m_totalMinutes; }
    // Largest first, at most `maxRows`, the rest folded into "其他": name, colour, minutes,
    // their text and their share of the day's total.
    const QVariantList& categoryRows() const { return m_categoryRows; }
    int entryCount() const { return m_entryCount; }

    Q_INVOKABLE void recompute();

signals:
    void appStateChanged();
    void summaryChanged();

private:
    QPointer<AppState> m_appState;
    QList<QMetaObject::Connection> m_connections;
    int m_totalMinutes = 0;
    int m_entryCount = 0;
    QVariantList m_categoryRows;
};
