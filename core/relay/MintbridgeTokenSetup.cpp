#include "MintbridgeTokenSetup.h"

#include "DomainChatHandler.h"
#include "MintbridgeClient.h"

#include <QPointer>

MintbridgeTokenSetup::MintbridgeTokenSetup(QObject* parent)
    : MintbridgeTokenSetup(nullptr, parent)
{
}

MintbridgeTokenSetup::MintbridgeTokenSetup(MintbridgeClient* client, QObject* parent)
    : QObject(parent)
    , m_client(client)
{
}

MintbridgeClient& MintbridgeTokenSetup::client() const
{
    return m_client ? *m_client : MintbridgeClient::shared();
}

QCoro::Task<void> MintbridgeTokenSetup::save(QString token)
{
    QPointer<MintbridgeTokenSetup> self(this);
    if (m_isSaving)
        co_return;
    setSaving(true);
    const QString trimmed = token.trimmed();
    std::optional<QString> failure;
    try {
        if (!trimmed.isEmpty()) {
            co_await client().storeBearer(trimmed);
        } else {
            const bool stored = co_await client().hasBearer();
            if (!stored)
                failure = nothingToSave;
        }
    } catch (...) {
        failure = DomainChatHandler::messageFor(std::current_exception());
    }
    if (!self)
        co_return;
    if (failure) {
        setStatus(*failure, true);
        setSaving(false);
        co_return;
    }
    setHasToken(true);
    const bool reachable = co_await client().health();
    if (!self)
        co_return;
    setStatus(reachable ? savedAndReachable : savedButUnreachable, false);
    setSaving(false);
    emit saved();
}

void MintbridgeTokenSetup::submit(const QString& token)
{
    save(token);
}

void MintbridgeTokenSetup::refresh()
{
    [](QPointer<MintbridgeTokenSetup> self) -> QCoro::Task<void> {
        try {
            const bool found = co_await self->client().hasBearer();
            if (self)
                self->setHasToken(found);
        } catch (...) {
        }
    }(this);
}

void MintbridgeTokenSetup::setSaving(bool value)
{
    if (m_isSaving == value)
        return;
    m_isSaving = value;
    emit isSavingChanged();
}

void MintbridgeTokenSetup::setHasToken(bool value)
{
    if (m_hasToken == value)
        return;
    m_hasToken = value;
    emit hasTokenChanged();
}

void MintbridgeTokenSetup::setStatus(QString message, bool failed)
{
    if (m_statusMessage == message && m_lastSaveFailed == failed)
        return;
    m_statusMessage = std::move(message);
    m_lastSaveFailed = failed;
    emit statusMessageChanged();
}
