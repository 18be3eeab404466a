#include "Backend.h"

#include "agent/BuiltinAgent.h"
#include "agent/TurnContextStore.h"
#include "agent/TurnRunner.h"
#include "agent/UnheardTurnWriter.h"
#include "db/Migrations.h"

#include <QDir>
#include <QFile>

#include <stdexcept>

namespace lumen {

namespace {

const QString kDatabaseFile = QStringLiteral("lumen.db");
const QString kAssetsFolder = QStringLiteral("assets");

} // namespace

QString Backend::prepareFolder(const QString& dataDir)
{
    if (dataDir.isEmpty())
        throw std::runtime_error("no data folder given");
    const QString absolute = QDir(dataDir).absolutePath();
    if (!QDir(absolute).exists()) {
        if (!QDir().mkpath(absolute))
            throw std::runtime_error("cannot create data folder " + absolute.toStdString());
        QFile::setPermissions(absolute, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    const QString database = QDir(absolute).filePath(kDatabaseFile);
    if (!QFile::exists(database)) {
        QFile file(database);
        if (!file.open(QIODevice::WriteOnly))
            throw std::runtime_error("cannot create " + database.toStdString());
        // SQLite gives its -wal and -shm files the database file's mode.
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    }
    return absolute;
}

Backend::Backend(QString dataDir, PasswordCost cost, std::shared_ptr<Clock> clock)
    : m_dataDir(prepareFolder(dataDir))
    , m_clock(clock ? std::move(clock) : std::make_shared<SystemClock>())
    , m_hasher(cost)
    , m_database(databasePath())
    , m_households(m_database, m_clock)
    , m_tokens(m_database, m_clock)
    , m_accounts(m_database, m_households, m_tokens, m_hasher, m_clock)
    , m_assets(assetsDir(), m_households)
    , m_lexicons(m_database, m_households, m_clock)
    , m_timeCategories(m_database, m_households, m_lexicons, m_clock)
    , m_timeLedger(m_database, m_households, m_lexicons, m_clock)
    , m_financeLedger(m_database, m_households, m_clock)
    , m_financeCategories(m_database, m_households, m_lexicons)
    , m_financeSummaries(m_database, m_households)
    , m_financePending(m_database, m_households, m_financeLedger, m_lexicons, m_clock)
    , m_pending(m_database, m_households, m_financeLedger, m_timeLedger, m_clock)
    , m_chatSessions(m_database, m_clock)
    , m_seeder(
          m_database, m_accounts, m_households, m_timeLedger, m_financeLedger, m_financePending, m_clock, assetsDir())
{
    m_database.migrate(db::migrations());
    m_turnContexts = std::make_unique<agent::TurnContextStore>();
    m_turns
        = std::make_unique<agent::TurnRunner>(m_clock, std::make_shared<agent::BuiltinAgent>(*this, *m_turnContexts));
    // A chat session continues under the resume id it last ran under, and keeps a copy of
    // whatever its client did not stay to hear.
    m_turns->setResumeLookup([this](qint64 userId, const QString& chatSessionId) {
        return m_chatSessions.resumeIdOf(userId, chatSessionId);
    });
    m_turns->addObserver(std::make_shared<agent::UnheardTurnWriter>(m_chatSessions, m_households, *m_clock));
}

Backend::~Backend() = default;

QString Backend::databasePath() const
{
    return QDir(m_dataDir).filePath(kDatabaseFile);
}

QString Backend::assetsDir() const
{
    return QDir(m_dataDir).filePath(kAssetsFolder);
}

} // namespace lumen
