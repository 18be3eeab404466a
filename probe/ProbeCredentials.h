#pragma once

#include <QString>

#include <optional>

// The sensor's own bearer token, one line in a file only its owner may read.
class ProbeCredentials {
public:
    explicit ProbeCredentials(QString path);

    // ~/.config/focus-probe/token (XDG_CONFIG_HOME respected).
    static QString defaultPath();

    // The token, or nothing with the reason in problem(): no file, an empty one, or one that
    // others can read (a token anyone can read is not used).
    std::optional<QString> read();
    QString problem() const { return m_problem; }

    // Replaces the file atomically, 0600 from the first byte. False with problem() on failure.
    bool write(const QString& token);

    const QString& path() const { return m_path; }

private:
    QString m_path;
    QString m_problem;
};
