#pragma once

#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <qcoro/qcorotask.h>

class MintbridgeClient;

// The logic of the sheet "配置 Mintbridge 中继 Token": its words, and saving a pasted token
// followed by a check that the relay answers. A blank field keeps the token already stored.
class MintbridgeTokenSetup : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(QString explanation READ explanation CONSTANT)
    Q_PROPERTY(QString hint READ hint CONSTANT)
    Q_PROPERTY(QString fieldPlaceholder READ fieldPlaceholder CONSTANT)
    Q_PROPERTY(QString note READ note CONSTANT)
    Q_PROPERTY(bool isSaving READ isSaving NOTIFY isSavingChanged)
    Q_PROPERTY(bool hasToken READ hasToken NOTIFY hasTokenChanged)
    Q_PROPERTY(QString statusMessage READ statusMessage NOTIFY statusMessageChanged)
    Q_PROPERTY(bool lastSaveFailed READ lastSaveFailed NOTIFY statusMessageChanged)

public:
    static inline const QString savedAndReachable = QStringLiteral("已保存。可以回去试一笔了。");
    static inline const QString savedButUnreachable
        = QStringLiteral("Token 已保存。但 mintbridge 当前不可达（Mac 可能离线），下一笔时会重试。");
    static inline const QString nothingToSave = QStringLiteral("请先粘贴 mintbridge token。");

    explicit MintbridgeTokenSetup(QObject* parent = nullptr);
    // `client` null: the process-wide client.
    explicit MintbridgeTokenSetup(MintbridgeClient* client, QObject* parent = nullptr);

    QString title() const { return QStringLiteral("配置 Mintbridge 中继 Token"); }
    QString explanation() const
    {
        return QStringLiteral("用于把底部输入框的中文句子（例：今天午餐 50）发到 Mac 端 mintbridge 服务做 AI "
                              "解析。没设也能用 App，只是少了「记一笔」自动解析这条路。");
    }
    QString hint() const { return QStringLiteral("打开 Bitwarden app → 搜该 item → 复制 password 字段 → 回来粘贴。"); }
    QString fieldPlaceholder() const { return QStringLiteral("粘贴 Bearer token …"); }
    QString note() const { return QStringLiteral("粘贴新 token 会覆盖；留空保留现有。"); }

    bool isSaving() const { return m_isSaving; }
    bool hasToken() const { return m_hasToken; }
    const QString& statusMessage() const { return m_statusMessage; }
    bool lastSaveFailed() const { return m_lastSaveFailed; }

    // Stores the token (unless blank), then asks the relay's /health; the outcome lands in
    // `statusMessage`. Never throws.
    QCoro::Task<void> save(QString token);
    Q_INVOKABLE void submit(const QString& token);
    Q_INVOKABLE void refresh();

signals:
    void isSavingChanged();
    void hasTokenChanged();
    void statusMessageChanged();
    void saved();

private:
    MintbridgeClient& client() const;
    void setSaving(bool value);
    void setHasToken(bool value);
    void setStatus(QString message, bool failed);

    MintbridgeClient* m_client;
    bool m_isSaving = false;
    bool m_hasToken = false;
    QString m_statusMessage;
    bool m_lastSaveFailed = false;
};
