#include "AssetsStore.h"

AssetsStore::AssetsStore(StoreContext context, QObject* parent)
    : DomainStore(std::move(context), parent)
{
    if (auto snapshot = loadSnapshot<Snapshot>(snapshotKey))
        m_items = std::move(snapshot->items);
}

QVariantList AssetsStore::itemsForView() const
{
    QVariantList out;
    for (const auto& item : m_items)
        out.append(wire::toJson(item).toObject().toVariantMap());
    return out;
}

void AssetsStore::setItems(std::vector<wire::AssetItem> items)
{
    if (m_items == items)
        return;
    m_items = std::move(items);
    emit itemsChanged();
}

QCoro::Task<void> AssetsStore::refresh()
{
    LumenAPIClient* client = &api();
    const auto fetch = [client] { return client->assetsList(); };
    const auto apply = [this](wire::AssetsListResponse response) {
        setItems(std::move(response.items));
        saveSnapshot(snapshotKey, Snapshot { m_items });
    };
    co_await runRefresh<wire::AssetsListResponse>(fetch, apply);
}

void AssetsStore::reload()
{
    // Fire and forget: the frame reports through `state`.
    [](QPointer<AssetsStore> self) -> QCoro::Task<void> {
        if (self)
            co_await self->refresh();
    }(this);
}
