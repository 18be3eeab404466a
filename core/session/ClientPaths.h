#pragma once

#include <QString>

// The client's folders. `appSupport` is the per-user data folder; everything the client
// keeps on disk lives below it under "Quillon/" or "VelmarOS/".
struct ClientPaths {
    QString appSupport;

    static ClientPaths standard();
    static ClientPaths under(const QString& root) { return ClientPaths { root }; }

    QString quillonDir() const { return appSupport + QStringLiteral("/Quillon"); }
    QString credentialDir() const { return quillonDir() + QStringLiteral("/kc"); }
    QString velmarDir() const { return appSupport + QStringLiteral("/VelmarOS"); }
    QString widgetCacheDir() const { return velmarDir() + QStringLiteral("/widget-cache"); }
    QString sessionsDir() const { return velmarDir() + QStringLiteral("/sessions"); }

    bool operator==(const ClientPaths&) const = default;
};
