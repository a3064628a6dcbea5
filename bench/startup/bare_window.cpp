// The yardstick of the start-up bench: the least a Qt Widgets program does to show a window.
#include <QApplication>
#include <QMainWindow>

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QMainWindow window;
    window.setWindowTitle("Bare Qt window");
    window.resize(980, 640);
    window.show();
    return app.exec();
}
