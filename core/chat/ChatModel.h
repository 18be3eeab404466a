#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <optional>

// The model tiers a chat runs on: haiku for one quick record, sonnet for the usual
// conversation, opus for a long think. `id` is the word on the wire.
struct ChatModel {
    Q_GADGET
    QML_VALUE_TYPE(chatModel)
    Q_PROPERTY(QString id READ id CONSTANT)
    Q_PROPERTY(QString displayName READ displayName CONSTANT)
    Q_PROPERTY(QString roleHint READ roleHint CONSTANT)

public:
    enum class Tier { haiku, sonnet, opus };
    Q_ENUM(Tier)
    // What a tier is for: recording one thing, or asking.
    enum class Intent { record, ask };
    Q_ENUM(Intent)

    Tier tier = Tier::sonnet;

    static ChatModel haiku() { return { Tier::haiku }; }
    static ChatModel sonnet() { return { Tier::sonnet }; }
    static ChatModel opus() { return { Tier::opus }; }
    static QList<ChatModel> all() { return { haiku(), sonnet(), opus() }; }
    // The tier named by an `id` word; nothing for any other word.
    static std::optional<ChatModel> fromId(const QString& id);

    QString id() const;
    QString displayName() const;
    QString roleHint() const;
    Intent intent() const { return tier == Tier::haiku ? Intent::record : Intent::ask; }

    bool operator==(const ChatModel&) const = default;
};
