// A small window of its own process for the display tests: shows itself with the given title
// and prints "ready <window id>" once the display has it.
#include <QGuiApplication>
#include <QPainter>
#include <QRasterWindow>

#include <cstdio>

class ProbeTestWindow final : public QRasterWindow {
protected:
    void paintEvent(QPaintEvent*) override { QPainter(this).fillRect(QRect(QPoint(), size()), Qt::darkCyan); }
    void exposeEvent(QExposeEvent* event) override
    {
        QRasterWindow::exposeEvent(event);
        if (isExposed() && !m_announced) {
            m_announced = true;
            std::printf("ready %llu\n", static_cast<unsigned long long>(winId()));
            std::fflush(stdout);
        }
    }

private:
    bool m_announced = false;
};

int main(int argc, char** argv)
{
    QGuiApplication app(argc, argv);
    if (argc < 3) {
        std::fprintf(stderr, "usage: probe-test-window APP-NAME TITLE\n");
        return 2;
    }
    QGuiApplication::setApplicationName(QString::fromUtf8(argv[1]));
    ProbeTestWindow window;
    window.setTitle(QString::fromUtf8(argv[2]));
    window.resize(200, 120);
    window.show();
    return app.exec();
}
