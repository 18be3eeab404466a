#pragma once

#include "DomainStore.h"

// The study organ's store: a frame with nothing to load yet, still part of the start-up fan-out.
class UnimelbStore : public DomainStore {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("owned by AppState")

public:
    explicit UnimelbStore(StoreContext context, QObject* parent = nullptr)
        : DomainStore(std::move(context), parent)
    {
    }

    QCoro::Task<void> refresh() { co_return; }
};
