#pragma once

#include <QObject>
#include <QString>
#include <functional>

class QCoreApplication;

// On macOS a URL of the program's own scheme arrives as an Apple event, which Qt delivers to the
// application object as a QFileOpenEvent. This filter hands such URLs on and leaves every other
// file-open event (documents) to the application.
class FileOpenEvents : public QObject {
    Q_OBJECT
public:
    using Handler = std::function<void(const QString &urlText)>;

    explicit FileOpenEvents(Handler handler, QObject *parent = nullptr);
    // Filters the application's events for as long as the application lives.
    static FileOpenEvents *install(QCoreApplication *application, Handler handler);

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    Handler m_handler;
};
