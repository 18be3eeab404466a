#include "TimeStore.h"

#include "TimeCache.h"

#include "session/LoadError.h"

#include <functional>

namespace {

// The server answers a stop with 400 when nothing is running: the goal is reached.
bool isNothingRunning(std::exception_ptr error)
{
    try {
        std::rethrow_exception(error);
    } catch (const LumenAPIError& apiError) {
        return apiError.kind() == LumenAPIError::Kind::ClientError && apiError.statusCode() == 400;
    } catch (...) {
        return false;
    }
}

QVariantMap toMap(const auto& record)
{
    return wire::toJson(record).toObject().toVariantMap();
}

} // namespace

TimeStore::Snapshot TimeStore::Snapshot::fromJson(const wire::ObjectReader& in)
{
    return { in.required<std::vector<wire::TimeEntry>>("entries"),
        in.required<std::vector<wire::TimeCategory>>("categories"), in.optional<wire::TimeCurrent>("current") };
}

void TimeStore::Snapshot::writeJson(wire::ObjectWriter& out) const
{
    out.set("entries", entries).set("categories", categories).set("current", current);
}

TimeStore::TimeStore(StoreContext context, TimeCache* cache, QObject* parent)
    : DomainStore(std::move(context), parent)
    , m_cache(cache)
{
    if (auto snapshot = loadSnapshot<Snapshot>(snapshotKey)) {
        m_entries = std::move(snapshot->entries);
        m_categories = std::move(snapshot->categories);
        m_current = std::move(snapshot->current);
    }
}

// ---- published state ----

bool TimeStore::setCurrent(std::optional<wire::TimeCurrent> value)
{
    if (m_current == value)
        return false;
    m_current = std::move(value);
    emit currentChanged();
    return true;
}

void TimeStore::setEntries(std::vector<wire::TimeEntry> value)
{
    if (m_entries == value)
        return;
    m_entries = std::move(value);
    emit entriesChanged();
}

void TimeStore::setCategories(std::vector<wire::TimeCategory> value)
{
    if (m_categories == value)
        return;
    m_categories = std::move(value);
    emit categoriesChanged();
}

void TimeStore::setStopErrorMessage(std::optional<QString> value)
{
    if (m_stopErrorMessage == value)
        return;
    m_stopErrorMessage = std::move(value);
    emit stopErrorMessageChanged();
}

void TimeStore::bumpDirectTimeChangeVersion()
{
    ++m_directTimeChangeVersion;
    emit directTimeChangeVersionChanged();
}

quint64 TimeStore::beginCurrentMutation()
{
    ++m_currentMutationInFlight;
    return ++m_currentGeneration;
}

void TimeStore::endCurrentMutation()
{
    Q_ASSERT(m_currentMutationInFlight > 0);
    --m_currentMutationInFlight;
}

void TimeStore::saveSnapshotNow() const
{
    saveSnapshot(snapshotKey, Snapshot { m_entries, m_categories, m_current });
}

QString TimeStore::nowISO() const
{
    return now().toUTC().toString(Qt::ISODate);
}

QString TimeStore::todayString() const
{
    return now().toLocalTime().date().toString(QStringLiteral("yyyy-MM-dd"));
}

std::optional<wire::TimeCategory> TimeStore::category(std::optional<int> id) const
{
    if (!id)
        return std::nullopt;
    for (const auto& category : m_categories) {
        if (category.id == *id)
            return category;
    }
    return std::nullopt;
}

QCoro::Task<std::vector<wire::TimeEntry>> TimeStore::confirmedEntries(LumenAPIClient* api)
{
    std::vector<wire::TimeEntry> entries = co_await api->timeList(std::nullopt, 1000, 1);
    co_return dedupedByID(std::move(entries));
}

// ---- reads ----

QCoro::Task<void> TimeStore::refresh()
{
    QPointer<TimeStore> self(this);
    // A running-activity write under way when the reads begin, or begun while they run, is
    // newer than what /time/current will say.
    const int inFlightAtStart = m_currentMutationInFlight;
    const quint64 generationAtStart = m_currentGeneration;
    setLoading(true);

    LumenAPIClient* client = &api();
    const std::function<QCoro::Task<wire::TimeCurrent>()> fetchCurrent = [client] { return client->timeCurrent(); };
    const std::function<QCoro::Task<std::vector<wire::TimeEntry>>()> fetchEntries
        = [client] { return client->timeList(std::nullopt, 1000, 1); };
    const std::function<QCoro::Task<std::vector<wire::TimeCategory>>()> fetchCategories
        = [client] { return client->timeCategories(); };
    // The three reads run side by side; the first failure is the one reported.
    auto currentTask = client->withRetry<wire::TimeCurrent>(3, fetchCurrent);
    auto entriesTask = client->withRetry<std::vector<wire::TimeEntry>>(3, fetchEntries);
    auto categoriesTask = client->withRetry<std::vector<wire::TimeCategory>>(3, fetchCategories);

    std::exception_ptr failure;
    std::optional<wire::TimeCurrent> current;
    std::optional<std::vector<wire::TimeEntry>> entries;
    std::optional<std::vector<wire::TimeCategory>> categories;
    try {
        current = co_await currentTask;
    } catch (...) {
        failure = std::current_exception();
    }
    try {
        entries = co_await entriesTask;
    } catch (...) {
        if (!failure)
            failure = std::current_exception();
    }
    try {
        categories = co_await categoriesTask;
    } catch (...) {
        if (!failure)
            failure = std::current_exception();
    }
    if (!self)
        co_return;

    if (failure) {
        handle(failure);
    } else {
        if (inFlightAtStart < 1 && m_currentMutationInFlight == 0 && isLatestCurrentChange(generationAtStart))
            setCurrent(std::move(current));
        setEntries(dedupedByID(std::move(*entries)));
        setCategories(std::move(*categories));
        markRefreshed();
        saveSnapshotNow();
    }
    setLoading(false);
}

QCoro::Task<void> TimeStore::refreshCurrent()
{
    QPointer<TimeStore> self(this);
    LumenAPIClient* client = &api();
    const quint64 generationAtStart = m_currentGeneration;
    try {
        wire::TimeCurrent current = co_await client->timeCurrent();
        if (!self)
            co_return;
        if (m_currentMutationInFlight == 0 && isLatestCurrentChange(generationAtStart)
            && setCurrent(std::move(current)))
            saveSnapshotNow();
    } catch (...) {
    }
}

// ---- the running activity ----

void TimeStore::start(const QString& activity, std::optional<int> categoryID)
{
    const std::optional<wire::TimeCurrent> previous = m_current;
    const QString startedAt = nowISO();
    wire::TimeCurrent optimistic;
    optimistic.active = true;
    optimistic.activity = activity;
    optimistic.category_id = categoryID;
    optimistic.start_time = startedAt;
    optimistic.updated_at = startedAt;
    setCurrent(optimistic);
    clearError();
    const quint64 generation = beginCurrentMutation();

    wire::TimeStartRequest request;
    request.activity = activity;
    request.category_id = categoryID;
    request.source = QStringLiteral("app");
    finishStart(this, previous, generation, std::move(request));
}

QCoro::Task<void> TimeStore::finishStart(QPointer<TimeStore> self, std::optional<wire::TimeCurrent> previous,
    quint64 generation, wire::TimeStartRequest request)
{
    LumenAPIClient* client = &self->api();
    std::exception_ptr failure;
    std::optional<wire::TimeCurrent> fetched;
    try {
        co_await client->timeStart(request);
        fetched = co_await client->timeCurrent();
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self)
        co_return;
    // A later change of the running activity owns `current` now; this one only reports.
    const bool latest = self->isLatestCurrentChange(generation);
    if (failure) {
        if (latest)
            self->setCurrent(previous);
        self->applyTimeError(failure);
    } else if (latest) {
        self->setCurrent(fetched);
    }
    self->endCurrentMutation();
    self->saveSnapshotNow();
}

void TimeStore::stop(std::optional<QString> note)
{
    const std::optional<wire::TimeCurrent> previous = m_current;
    setCurrent(wire::TimeCurrent {});
    clearError();
    setStopErrorMessage(std::nullopt);
    const quint64 generation = beginCurrentMutation();
    wire::TimeStopRequest request;
    request.note = std::move(note);
    finishStop(this, previous, generation, std::move(request));
}

QCoro::Task<void> TimeStore::finishStop(QPointer<TimeStore> self, std::optional<wire::TimeCurrent> previous,
    quint64 generation, wire::TimeStopRequest request)
{
    LumenAPIClient* client = &self->api();
    std::exception_ptr failure;
    try {
        co_await client->timeStop(request);
        wire::TimeCurrent current = co_await client->timeCurrent();
        if (!self)
            co_return;
        if (self->isLatestCurrentChange(generation))
            self->setCurrent(std::move(current));
        // The stopped block is a new entry of today (or, past midnight, of yesterday).
        self->m_cache->invalidateAround(self->todayString());
        std::vector<wire::TimeEntry> entries = co_await confirmedEntries(client);
        if (!self)
            co_return;
        self->setEntries(std::move(entries));
        self->setStopErrorMessage(std::nullopt);
        self->bumpDirectTimeChangeVersion();
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self)
        co_return;
    if (failure) {
        if (isNothingRunning(failure)) {
            self->setStopErrorMessage(std::nullopt);
        } else {
            if (self->isLatestCurrentChange(generation))
                self->setCurrent(previous);
            // Shown beside the running activity, not as a load failure.
            const LoadError error = formatLoadError(failure);
            self->setStopErrorMessage(error.message);
            if (error.isAuthFailure && self->onAuthFailure)
                self->onAuthFailure();
        }
    }
    self->endCurrentMutation();
    self->saveSnapshotNow();
}

void TimeStore::applyChatEffect(const TimeActivityEffect& effect)
{
    ++m_currentGeneration;
    wire::TimeCurrent next;
    if (effect.kind == TimeActivityEffect::Kind::Started) {
        next.active = true;
        next.activity = effect.activity;
        next.category_id = m_current ? m_current->category_id : std::nullopt;
        next.start_time = effect.timestamp;
        next.source = QStringLiteral("velmar-os-chat");
        next.updated_at = effect.timestamp;
    }
    setCurrent(next);
    clearError();
    saveSnapshotNow();
}

void TimeStore::clearCurrent()
{
    ++m_currentGeneration;
    setCurrent(std::nullopt);
}

// ---- entries ----

void TimeStore::addManualEntry(wire::TimeManualRequest request)
{
    finishManual(this, std::move(request));
}

QCoro::Task<void> TimeStore::finishManual(QPointer<TimeStore> self, wire::TimeManualRequest request)
{
    LumenAPIClient* client = &self->api();
    try {
        co_await client->timeManual(request);
        if (!self)
            co_return;
        self->m_cache->invalidateAround(request.date);
        std::vector<wire::TimeEntry> entries = co_await confirmedEntries(client);
        if (!self)
            co_return;
        self->setEntries(std::move(entries));
        self->clearError();
        self->bumpDirectTimeChangeVersion();
        self->saveSnapshotNow();
    } catch (...) {
        if (self)
            self->applyTimeError(std::current_exception());
    }
}

void TimeStore::updateEntry(int id, QStringList affectedDates, wire::TimeEntryUpdateRequest request)
{
    std::vector<wire::TimeEntry> previous = m_entries;
    std::vector<wire::TimeEntry> next = m_entries;
    for (auto& entry : next) {
        if (entry.id == id)
            entry = applyPatch(entry, request);
    }
    setEntries(std::move(next));
    if (affectedDates.isEmpty())
        m_cache->invalidateAll();
    for (const QString& day : affectedDates)
        m_cache->invalidateAround(day);
    clearError();
    bumpDirectTimeChangeVersion();
    saveSnapshotNow();
    finishEntryWrite(this, std::move(previous), id, std::move(request));
}

void TimeStore::deleteEntry(int id, std::optional<QString> affectedDate)
{
    std::vector<wire::TimeEntry> previous = m_entries;
    std::vector<wire::TimeEntry> next = m_entries;
    std::erase_if(next, [id](const wire::TimeEntry& entry) { return entry.id == id; });
    setEntries(std::move(next));
    if (affectedDate)
        m_cache->invalidateAround(*affectedDate);
    else
        m_cache->invalidateAll();
    clearError();
    bumpDirectTimeChangeVersion();
    saveSnapshotNow();
    finishEntryWrite(this, std::move(previous), id, std::nullopt);
}

// An update when `update` is set, a delete otherwise; a refusal brings the old list back.
QCoro::Task<void> TimeStore::finishEntryWrite(QPointer<TimeStore> self, std::vector<wire::TimeEntry> previous, int id,
    std::optional<wire::TimeEntryUpdateRequest> update)
{
    LumenAPIClient* client = &self->api();
    try {
        if (update)
            co_await client->timeUpdateEntry(id, *update);
        else
            co_await client->timeDeleteEntry(id);
    } catch (...) {
        if (!self)
            co_return;
        self->setEntries(std::move(previous));
        // The screens reload what they showed of the edit.
        self->bumpDirectTimeChangeVersion();
        self->applyTimeError(std::current_exception());
        self->saveSnapshotNow();
    }
}

// ---- categories ----

void TimeStore::addCategory(const QString& name, const QString& color)
{
    wire::TimeCategoryCreateRequest request;
    request.name = name;
    request.color = color;
    request.keywords = QString();
    request.sort_order = 100;
    finishAddCategory(this, std::move(request));
}

QCoro::Task<void> TimeStore::finishAddCategory(QPointer<TimeStore> self, wire::TimeCategoryCreateRequest request)
{
    LumenAPIClient* client = &self->api();
    try {
        co_await client->timeCreateCategory(request);
        std::vector<wire::TimeCategory> categories = co_await client->timeCategories();
        if (!self)
            co_return;
        self->setCategories(std::move(categories));
        self->saveSnapshotNow();
    } catch (...) {
        if (self)
            self->applyTimeError(std::current_exception());
    }
}

void TimeStore::updateCategory(int id, wire::TimeCategoryUpdateRequest request)
{
    std::vector<wire::TimeCategory> previous = m_categories;
    std::vector<wire::TimeCategory> next = m_categories;
    for (auto& category : next) {
        if (category.id != id)
            continue;
        category.name = request.name.value_or(category.name);
        if (request.color)
            category.color = request.color;
        if (request.sort_order)
            category.sort_order = request.sort_order;
    }
    setCategories(std::move(next));
    clearError();
    saveSnapshotNow();
    finishCategoryWrite(this, std::move(previous), id, std::move(request));
}

void TimeStore::deleteCategory(int id)
{
    std::vector<wire::TimeCategory> previous = m_categories;
    std::vector<wire::TimeCategory> next = m_categories;
    std::erase_if(next, [id](const wire::TimeCategory& category) { return category.id == id; });
    setCategories(std::move(next));
    clearError();
    saveSnapshotNow();
    finishCategoryWrite(this, std::move(previous), id, std::nullopt);
}

QCoro::Task<void> TimeStore::finishCategoryWrite(QPointer<TimeStore> self, std::vector<wire::TimeCategory> previous,
    int id, std::optional<wire::TimeCategoryUpdateRequest> update)
{
    LumenAPIClient* client = &self->api();
    try {
        if (update)
            co_await client->timeUpdateCategory(id, *update);
        else
            co_await client->timeDeleteCategory(id);
    } catch (...) {
        if (!self)
            co_return;
        self->setCategories(std::move(previous));
        self->applyTimeError(std::current_exception());
        self->saveSnapshotNow();
    }
}

// ---- for the screens ----

QVariantMap TimeStore::currentForView() const
{
    return m_current ? toMap(*m_current) : QVariantMap();
}

QVariantList TimeStore::entriesForView() const
{
    QVariantList out;
    for (const auto& entry : m_entries) {
        QVariantMap row = toMap(entry);
        if (const auto breakdown = appBreakdownText(entry))
            row.insert(QStringLiteral("appBreakdownText"), *breakdown);
        if (entry.duration_min)
            row.insert(QStringLiteral("durationText"), timeHM(*entry.duration_min));
        out.append(row);
    }
    return out;
}

QVariantList TimeStore::categoriesForView() const
{
    QVariantList out;
    for (const auto& category : m_categories)
        out.append(toMap(category));
    return out;
}

QVariantMap TimeStore::categoryFor(const QVariant& id) const
{
    bool ok = false;
    const int value = id.toInt(&ok);
    const auto found = ok && !id.isNull() ? category(value) : std::nullopt;
    return found ? toMap(*found) : QVariantMap();
}

void TimeStore::reload()
{
    [](QPointer<TimeStore> self) -> QCoro::Task<void> {
        if (self)
            co_await self->refresh();
    }(this);
}

void TimeStore::startActivity(const QString& activity, const QVariant& categoryID)
{
    bool ok = false;
    const int id = categoryID.toInt(&ok);
    start(activity, ok && !categoryID.isNull() ? std::optional<int>(id) : std::nullopt);
}

void TimeStore::stopActivity(const QString& note)
{
    stop(note.isEmpty() ? std::nullopt : std::optional<QString>(note));
}

void TimeStore::removeEntry(int id, const QString& affectedDate)
{
    deleteEntry(id, affectedDate.isEmpty() ? std::nullopt : std::optional<QString>(affectedDate));
}
