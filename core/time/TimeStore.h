#pragma once

#include "TimeDomain.h"

#include "chat/AgentEvent.h"
#include "session/DomainStore.h"

#include "time/TimeDomainModels.h"

#include <QVariantList>
#include <QVariantMap>

#include <optional>
#include <vector>

class MintbridgeClient;
class TimeCache;

// The time ledger: confirmed entries, categories and the one running activity. Writes are
// optimistic: the screen changes at once, the server hears afterwards, and a refusal puts
// the old state back. Captured entries waiting for the user are not kept here.
class TimeStore : public DomainStore {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("owned by AppState")
    Q_PROPERTY(QVariantMap current READ currentForView NOTIFY currentChanged)
    Q_PROPERTY(bool isRunning READ isRunning NOTIFY currentChanged)
    Q_PROPERTY(QVariantList entries READ entriesForView NOTIFY entriesChanged)
    Q_PROPERTY(QVariantList categories READ categoriesForView NOTIFY categoriesChanged)
    Q_PROPERTY(int directTimeChangeVersion READ directTimeChangeVersion NOTIFY directTimeChangeVersionChanged)
    Q_PROPERTY(QString stopErrorMessage READ stopErrorText NOTIFY stopErrorMessageChanged)

public:
    static inline const QString snapshotKey = QStringLiteral("time-store");

    struct Snapshot {
        std::vector<wire::TimeEntry> entries;
        std::vector<wire::TimeCategory> categories;
        std::optional<wire::TimeCurrent> current;

        static Snapshot fromJson(const wire::ObjectReader& in);
        void writeJson(wire::ObjectWriter& out) const;
    };

    // `cache` is invalidated by every write of entries; it must outlive the store.
    TimeStore(StoreContext context, TimeCache* cache, QObject* parent = nullptr);

    const std::optional<wire::TimeCurrent>& current() const { return m_current; }
    const std::vector<wire::TimeEntry>& entries() const { return m_entries; }
    const std::vector<wire::TimeCategory>& categories() const { return m_categories; }
    int directTimeChangeVersion() const { return m_directTimeChangeVersion; }
    // Running-activity writes under way; a refresh begun meanwhile leaves `current` alone.
    int currentMutationInFlight() const { return m_currentMutationInFlight; }
    const std::optional<QString>& stopErrorMessage() const { return m_stopErrorMessage; }
    TimeCache& cache() const { return *m_cache; }

    // The category with that id, or nothing for no id or one not in `categories`.
    std::optional<wire::TimeCategory> category(std::optional<int> id) const;

    // The whole picture: running activity, confirmed entries, categories. Never throws.
    QCoro::Task<void> refresh();
    // The running activity alone; failures are silent (it runs every few seconds).
    QCoro::Task<void> refreshCurrent();

    // Change the state at once and finish in a task of their own.
    void start(const QString& activity, std::optional<int> categoryID);
    void stop(std::optional<QString> note);
    void addManualEntry(wire::TimeManualRequest request);
    // `affectedDates` are the days whose cached views go; none means the whole cache.
    void updateEntry(int id, QStringList affectedDates, wire::TimeEntryUpdateRequest request);
    void deleteEntry(int id, std::optional<QString> affectedDate);
    void addCategory(const QString& name, const QString& color);
    void updateCategory(int id, wire::TimeCategoryUpdateRequest request);
    void deleteCategory(int id);

    // A running-activity change reported by a chat turn; the server already made it.
    void applyChatEffect(const TimeActivityEffect& effect);
    // Another user signs in: their activity is not ours to show.
    void clearCurrent();

    // The relay path (TimeStoreIntent.cpp): a short sentence through mintbridge's "time"
    // section becomes a start, a stop or a manual block. True when it became a change; a
    // failure lands in `state.errorMessage`. Never throws.
    QCoro::Task<bool> submitTimeIntent(QString text, std::optional<QString> model = std::nullopt);
    // The relay client of submitTimeIntent; null means the process-wide one.
    MintbridgeClient* relayClient = nullptr;

    // ---- for the screens ----
    QVariantMap currentForView() const;
    bool isRunning() const { return m_current && m_current->active; }
    QVariantList entriesForView() const;
    QVariantList categoriesForView() const;
    QString stopErrorText() const { return m_stopErrorMessage.value_or(QString()); }
    Q_INVOKABLE QVariantMap categoryFor(const QVariant& id) const;
    Q_INVOKABLE void reload();
    Q_INVOKABLE void startActivity(const QString& activity, const QVariant& categoryID);
    Q_INVOKABLE void stopActivity(const QString& note);
    Q_INVOKABLE void removeEntry(int id, const QString& affectedDate);

signals:
    void currentChanged();
    void entriesChanged();
    void categoriesChanged();
    void directTimeChangeVersionChanged();
    void stopErrorMessageChanged();

private:
    bool setCurrent(std::optional<wire::TimeCurrent> value);
    void setEntries(std::vector<wire::TimeEntry> value);
    void setCategories(std::vector<wire::TimeCategory> value);
    void setStopErrorMessage(std::optional<QString> value);
    void bumpDirectTimeChangeVersion();
    // A running-activity write begins: returns its generation, which later writes outrank.
    quint64 beginCurrentMutation();
    void endCurrentMutation();
    bool isLatestCurrentChange(quint64 generation) const { return generation == m_currentGeneration; }
    // `state.errorMessage` and, on a 401, the end of the session.
    void applyTimeError(std::exception_ptr error) { handle(error); }
    void setRelayError(const QString& message);
    void saveSnapshotNow() const;
    QString nowISO() const;
    QString todayString() const;
    // The confirmed entries, deduplicated, as `stop` and the manual path reload them.
    static QCoro::Task<std::vector<wire::TimeEntry>> confirmedEntries(LumenAPIClient* api);

    static QCoro::Task<void> finishStart(QPointer<TimeStore> self, std::optional<wire::TimeCurrent> previous,
        quint64 generation, wire::TimeStartRequest request);
    static QCoro::Task<void> finishStop(QPointer<TimeStore> self, std::optional<wire::TimeCurrent> previous,
        quint64 generation, wire::TimeStopRequest request);
    static QCoro::Task<void> finishManual(QPointer<TimeStore> self, wire::TimeManualRequest request);
    static QCoro::Task<void> finishEntryWrite(QPointer<TimeStore> self, std::vector<wire::TimeEntry> previous, int id,
        std::optional<wire::TimeEntryUpdateRequest> update);
    static QCoro::Task<void> finishAddCategory(QPointer<TimeStore> self, wire::TimeCategoryCreateRequest request);
    static QCoro::Task<void> finishCategoryWrite(QPointer<TimeStore> self, std::vector<wire::TimeCategory> previous,
        int id, std::optional<wire::TimeCategoryUpdateRequest> update);

    TimeCache* m_cache;
    std::optional<wire::TimeCurrent> m_current;
    std::vector<wire::TimeEntry> m_entries;
    std::vector<wire::TimeCategory> m_categories;
    int m_directTimeChangeVersion = 0;
    int m_currentMutationInFlight = 0;
    // Rises with every local change of `current`: a reading taken before it is older.
    quint64 m_currentGeneration = 0;
    std::optional<QString> m_stopErrorMessage;
};
