#pragma once

#include "TestServer.h"

#include <httplib.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>

#include <string>

// Plain HTTP against the in-process server, the way any client would talk to it.
struct Reply {
    int status = 0; // 0: no answer at all
    std::string body;
    httplib::Headers headers;

    QJsonObject object() const { return QJsonDocument::fromJson(QByteArray::fromStdString(body)).object(); }
    QJsonArray array() const { return QJsonDocument::fromJson(QByteArray::fromStdString(body)).array(); }
    QString detail() const { return object().value(QStringLiteral("detail")).toString(); }
    std::string header(const char* name) const
    {
        const auto it = headers.find(name);
        return it == headers.end() ? std::string() : it->second;
    }
};

class ServerHttp {
public:
    explicit ServerHttp(const TestServer& server)
        : m_client("127.0.0.1", server.port())
    {
        m_client.set_connection_timeout(5);
        m_client.set_read_timeout(10);
    }

    Reply get(const std::string& path, const QString& token = {}) { return send("GET", path, {}, token); }
    Reply post(const std::string& path, const std::string& body, const QString& token = {})
    {
        return send("POST", path, body, token);
    }
    Reply del(const std::string& path, const QString& token = {}) { return send("DELETE", path, {}, token); }
    Reply patch(const std::string& path, const std::string& body, const QString& token = {})
    {
        return send("PATCH", path, body, token);
    }
    Reply put(const std::string& path, const std::string& body, const QString& token = {})
    {
        return send("PUT", path, body, token);
    }
    // The same with a JSON object as the body.
    Reply post(const std::string& path, const QJsonObject& body, const QString& token)
    {
        return post(path, QJsonDocument(body).toJson(QJsonDocument::Compact).toStdString(), token);
    }
    Reply put(const std::string& path, const QJsonObject& body, const QString& token)
    {
        return put(path, QJsonDocument(body).toJson(QJsonDocument::Compact).toStdString(), token);
    }
    Reply patch(const std::string& path, const QJsonObject& body, const QString& token)
    {
        return patch(path, QJsonDocument(body).toJson(QJsonDocument::Compact).toStdString(), token);
    }

    Reply send(const std::string& method, const std::string& path, const std::string& body, const QString& token)
    {
        httplib::Headers headers;
        if (!token.isEmpty())
            headers.emplace("Authorization", "Bearer " + token.toStdString());
        httplib::Result result = [&] {
            if (method == "GET")
                return m_client.Get(path.c_str(), headers);
            if (method == "DELETE")
                return m_client.Delete(path.c_str(), headers);
            if (method == "PUT")
                return m_client.Put(path.c_str(), headers, body, "application/json");
            if (method == "PATCH")
                return m_client.Patch(path.c_str(), headers, body, "application/json");
            return m_client.Post(path.c_str(), headers, body, "application/json");
        }();
        Reply reply;
        if (result) {
            reply.status = result->status;
            reply.body = result->body;
            reply.headers = result->headers;
        }
        return reply;
    }

    // Signs in and returns the token; empty when the login was refused.
    QString login(const QString& username, const QString& password)
    {
        QJsonObject body { { QStringLiteral("username"), username }, { QStringLiteral("password"), password } };
        const Reply reply = post("/auth/login", QJsonDocument(body).toJson(QJsonDocument::Compact).toStdString());
        return reply.status == 200 ? reply.object().value(QStringLiteral("token")).toString() : QString();
    }

private:
    httplib::Client m_client;
};
