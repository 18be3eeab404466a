// The /health, /auth and /assets operations of LumenAPIClient.
#include "LumenAPIClient.h"

QCoro::Task<wire::HealthResponse> LumenAPIClient::health()
{
    co_return co_await request<wire::HealthResponse>(
        QStringLiteral("/health"), QStringLiteral("GET"), std::nullopt, {}, false);
}

QCoro::Task<wire::UserProfile> LumenAPIClient::me()
{
    co_return co_await request<wire::UserProfile>(QStringLiteral("/auth/me"));
}

QCoro::Task<wire::LoginResponse> LumenAPIClient::login(wire::LoginRequest body)
{
    co_return co_await request<wire::LoginResponse>(
        QStringLiteral("/auth/login"), QStringLiteral("POST"), body, {}, false);
}

QCoro::Task<wire::AnyCodableValue> LumenAPIClient::addRelation(wire::AddRelationRequest body)
{
    co_return co_await request<wire::AnyCodableValue>(QStringLiteral("/auth/relations"), QStringLiteral("POST"), body);
}

QCoro::Task<wire::GenericOK> LumenAPIClient::removeRelation(int memberID)
{
    co_return co_await request<wire::GenericOK>(
        QStringLiteral("/auth/relations/%1").arg(memberID), QStringLiteral("DELETE"));
}

QCoro::Task<wire::AnyCodableValue> LumenAPIClient::transferOwner(wire::TransferOwnerRequest body)
{
    co_return co_await request<wire::AnyCodableValue>(
        QStringLiteral("/auth/relations/transfer"), QStringLiteral("POST"), body);
}

QCoro::Task<wire::AssetsListResponse> LumenAPIClient::assetsList()
{
    co_return co_await request<wire::AssetsListResponse>(QStringLiteral("/assets/list"));
}

QCoro::Task<wire::AssetItem> LumenAPIClient::asset(QString slug)
{
    co_return co_await request<wire::AssetItem>(QStringLiteral("/assets/") + slug);
}
