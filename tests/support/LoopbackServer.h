#pragma once

#include "support/TemporaryFolder.h"

#include <QFile>
#include <QHash>
#include <QProcess>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslServer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QUrl>

#include <functional>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

namespace Tessaly {

/// A key and a certificate for "localhost", made on the spot; trusted by this process while it lives.
class LoopbackIdentity {
public:
    LoopbackIdentity() : before_(QSslConfiguration::defaultConfiguration()) {
        const QString keyFile = QString::fromStdString(folder_.file("key.pem"));
        const QString certificateFile = QString::fromStdString(folder_.file("certificate.pem"));
        QProcess tool;
        tool.start("openssl", {"req", "-x509", "-nodes", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1",
                               "-days", "2", "-subj", "/CN=localhost", "-addext", "subjectAltName=DNS:localhost",
                               "-keyout", keyFile, "-out", certificateFile});
        if (!tool.waitForFinished() || tool.exitCode() != 0) {
            throw std::runtime_error("openssl made no certificate");
        }
        QFile key(keyFile);
        QFile certificate(certificateFile);
        if (!key.open(QIODevice::ReadOnly) || !certificate.open(QIODevice::ReadOnly)) {
            throw std::runtime_error("openssl left no certificate");
        }
        configuration_.setPrivateKey(QSslKey(&key, QSsl::Ec));
        configuration_.setLocalCertificate(QSslCertificate(&certificate));
        QSslConfiguration trusting = before_;
        trusting.addCaCertificate(configuration_.localCertificate());
        QSslConfiguration::setDefaultConfiguration(trusting);
    }
    ~LoopbackIdentity() { QSslConfiguration::setDefaultConfiguration(before_); }
    LoopbackIdentity(const LoopbackIdentity&) = delete;
    LoopbackIdentity& operator=(const LoopbackIdentity&) = delete;

    const QSslConfiguration& configuration() const { return configuration_; }

private:
    TemporaryFolder folder_;
    QSslConfiguration before_;
    QSslConfiguration configuration_;
};

/// A web server on the loopback address that answers as a test says, and remembers what it was asked.
class LoopbackServer {
public:
    struct Request {
        QByteArray line;                       ///< method, path and protocol
        QHash<QByteArray, QByteArray> headers; ///< by name in lower case
        QByteArray body;
    };
    using Answer = std::function<void(QTcpSocket&)>;

    /// @param identity  for HTTPS; null for plain HTTP
    explicit LoopbackServer(const LoopbackIdentity* identity = nullptr) : secure_(identity) {
        if (identity) {
            auto server = std::make_unique<QSslServer>();
            server->setSslConfiguration(identity->configuration());
            server_ = std::move(server);
        } else {
            server_ = std::make_unique<QTcpServer>();
        }
        QObject::connect(server_.get(), &QTcpServer::pendingConnectionAvailable, server_.get(), [this] {
            while (QTcpSocket* socket = server_->nextPendingConnection()) {
                take(*socket);
            }
        });
        if (!server_->listen(QHostAddress::LocalHost)) {
            throw std::runtime_error("no server on the loopback address");
        }
    }

    QUrl url(const QString& path = "/file.json") const {
        return QUrl(
            QStringLiteral("%1://localhost:%2%3").arg(secure_ ? "https" : "http").arg(server_->serverPort()).arg(path));
    }

    /// What happens once a request is complete.
    void setAnswer(Answer answer) { answer_ = std::move(answer); }
    /// Answers with a whole reply.
    void reply(const QByteArray& status, const QByteArray& body, const QByteArray& headers = {}) {
        setAnswer([=](QTcpSocket& socket) {
            socket.write("HTTP/1.1 " + status + "\r\nContent-Length: " + QByteArray::number(body.size()) +
                         "\r\nConnection: close\r\n" + headers + "\r\n" + body);
            socket.disconnectFromHost();
        });
    }
    void redirectTo(const QUrl& url) { reply("302 Found", {}, "Location: " + url.toEncoded() + "\r\n"); }
    /// Takes requests and says nothing.
    void stall() {
        setAnswer([](QTcpSocket&) {});
    }
    /// Sends zeros as fast as they are taken; counts them.
    void send(qint64 length) {
        setAnswer([this, length](QTcpSocket& socket) {
            socket.write("HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(length) + "\r\n\r\n");
            const auto more = [this, length, &socket] {
                while (sent < length && socket.bytesToWrite() < 65536) {
                    sent += socket.write(QByteArray(65536, ' '));
                }
            };
            QObject::connect(&socket, &QTcpSocket::bytesWritten, &socket, more);
            more();
        });
    }

    std::vector<Request> requests; ///< complete ones
    int connections = 0;
    int hangUps = 0; ///< connections that have ended
    qint64 sent = 0;

private:
    void take(QTcpSocket& socket) {
        ++connections;
        auto received = std::make_shared<QByteArray>();
        const auto read = [this, received, &socket] {
            *received += socket.readAll();
            const qsizetype end = received->indexOf("\r\n\r\n");
            if (end < 0) {
                return;
            }
            Request request = parsed(received->left(end));
            request.body = received->mid(end + 4);
            if (request.body.size() >= request.headers.value("content-length", "0").toLongLong()) {
                received->clear();
                requests.push_back(request);
                answer_(socket);
            }
        };
        QObject::connect(&socket, &QTcpSocket::disconnected, server_.get(), [this] { ++hangUps; });
        QObject::connect(&socket, &QTcpSocket::readyRead, &socket, read);
        read();
    }

    static Request parsed(const QByteArray& head) {
        Request request;
        for (const QByteArray& line : head.split('\n')) {
            const qsizetype colon = line.indexOf(':');
            if (request.line.isEmpty()) {
                request.line = line.trimmed();
            } else if (colon > 0) {
                request.headers.insert(line.left(colon).toLower(), line.mid(colon + 1).trimmed());
            }
        }
        return request;
    }

    bool secure_;
    std::unique_ptr<QTcpServer> server_;
    Answer answer_ = [](QTcpSocket&) {};
};

} // namespace Tessaly
