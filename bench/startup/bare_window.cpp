// The yardsticks of the start-up bench: the least a Qt Widgets program does to show a window,
// and with --text the same window showing a line of text, which loads the fonts every window
// with words pays for.
#include <QApplication>
#include <QLabel>
#include <QMainWindow>

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QMainWindow window;
    window.setWindowTitle("Bare Qt window");
    if (app.arguments().contains("--text")) window.setCentralWidget(new QLabel("A line of text"));
    window.resize(980, 640);
    window.show();
    return app.exec();
}
