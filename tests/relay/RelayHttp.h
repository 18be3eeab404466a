#pragma once

#include <httplib.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

#include <string>

// Plain HTTP against the in-process relay, the way any client would talk to it.
struct RelayReply {
    int status = 0; // 0: no answer at all
    std::string body;
    httplib::Headers headers;

    QJsonObject object() const { return QJsonDocument::fromJson(QByteArray::fromStdString(body)).object(); }
    QJsonObject parsed() const { return object().value(QStringLiteral("parsed")).toObject(); }
    QString detail() const { return object().value(QStringLiteral("detail")).toString(); }
    std::string header(const char* name) const
    {
        const auto it = headers.find(name);
        return it == headers.end() ? std::string() : it->second;
    }
};

class RelayHttp {
public:
    explicit RelayHttp(int port)
        : m_client("127.0.0.1", port)
    {
        m_client.set_connection_timeout(5);
        m_client.set_read_timeout(60);
    }

    RelayReply get(const std::string& path) { return wrap(m_client.Get(path.c_str())); }

    RelayReply post(const std::string& path, const std::string& body, const QString& authorization)
    {
        httplib::Headers headers;
        if (!authorization.isEmpty())
            headers.emplace("Authorization", authorization.toStdString());
        return wrap(m_client.Post(path.c_str(), headers, body, "application/json"));
    }

    // POST /intent with the token and a body of these fields.
    RelayReply intent(const QString& token, const QJsonObject& body)
    {
        return post("/intent", QJsonDocument(body).toJson(QJsonDocument::Compact).toStdString(),
            QStringLiteral("Bearer ") + token);
    }

private:
    static RelayReply wrap(const httplib::Result& result)
    {
        RelayReply reply;
        if (result) {
            reply.status = result->status;
            reply.body = result->body;
            reply.headers = result->headers;
        }
        return reply;
    }

    httplib::Client m_client;
};
