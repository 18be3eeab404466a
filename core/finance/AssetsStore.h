#pragma once

#include "session/DomainStore.h"

#include "assets/AssetModels.h"

#include <QVariantList>

// The owner's notes on his assets, as the backend serves them.
class AssetsStore : public DomainStore {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("owned by AppState")
    Q_PROPERTY(QVariantList items READ itemsForView NOTIFY itemsChanged)

public:
    static inline const QString snapshotKey = QStringLiteral("assets-store");

    struct Snapshot {
        std::vector<wire::AssetItem> items;

        static Snapshot fromJson(const wire::ObjectReader& in)
        {
            return { in.required<std::vector<wire::AssetItem>>("items") };
        }
        void writeJson(wire::ObjectWriter& out) const { out.set("items", items); }
    };

    explicit AssetsStore(StoreContext context, QObject* parent = nullptr);

    const std::vector<wire::AssetItem>& items() const { return m_items; }
    QVariantList itemsForView() const;

    QCoro::Task<void> refresh();
    Q_INVOKABLE void reload();

signals:
    void itemsChanged();

private:
    void setItems(std::vector<wire::AssetItem> items);

    std::vector<wire::AssetItem> m_items;
};
