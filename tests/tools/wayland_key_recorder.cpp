// A small Wayland client for the keystroke tests, on Qt's wayland platform:
// a window with the given title that appends every character it receives to
// a file ("\n" for Return, "\t" for Tab, "<BS>" and "<DEL>" for those keys,
// "<ESC>", "<BT>" for Shift+Tab, "<F1>" to "<F24>", and "<C-a>" for a letter
// typed with Ctrl).
// It writes "<ready>" once its window has the keyboard focus.
//
// With --strict it behaves like clients that cannot tell two events of one
// key apart when they carry the same millisecond: such a press is not
// taken, and "<same-ms>" is written in its place.

#include <QGuiApplication>
#include <QKeyEvent>
#include <QRasterWindow>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>

namespace {

class Recorder : public QRasterWindow {
public:
    Recorder(std::FILE* out, bool strict) : out_(out), strict_(strict) {}

protected:
    void focusInEvent(QFocusEvent*) override {
        if (!ready_) {
            ready_ = true;
            Write("<ready>");
        }
    }
    void keyReleaseEvent(QKeyEvent* e) override { last_[e->nativeScanCode()] = e->timestamp(); }
    void keyPressEvent(QKeyEvent* e) override {
        const auto last = last_.find(e->nativeScanCode());
        const bool sameMs = last != last_.end() && last->second == e->timestamp();
        last_[e->nativeScanCode()] = e->timestamp();
        if (strict_ && sameMs) {
            Write("<same-ms>");
            return;
        }
        switch (e->key()) {
        case Qt::Key_Return:
        case Qt::Key_Enter:
            Write("\n");
            return;
        case Qt::Key_Tab:
            Write("\t");
            return;
        case Qt::Key_Backspace:
            Write("<BS>");
            return;
        case Qt::Key_Delete:
            Write("<DEL>");
            return;
        case Qt::Key_Escape:
            Write("<ESC>");
            return;
        case Qt::Key_Backtab:
            Write("<BT>");
            return;
        default:
            break;
        }
        if (e->key() >= Qt::Key_F1 && e->key() <= Qt::Key_F24) {
            Write(("<F" + std::to_string(e->key() - Qt::Key_F1 + 1) + ">").c_str());
            return;
        }
        if ((e->modifiers() & Qt::ControlModifier) && e->key() >= Qt::Key_A &&
            e->key() <= Qt::Key_Z) {
            Write(("<C-" + std::string(1, static_cast<char>('a' + e->key() - Qt::Key_A)) + ">")
                      .c_str());
            return;
        }
        const QByteArray text = e->text().toUtf8();
        if (!text.isEmpty() && static_cast<unsigned char>(text[0]) >= 32)
            Write(text.constData());
    }

private:
    void Write(const char* text) {
        std::fputs(text, out_);
        std::fflush(out_);
    }

    std::FILE* out_;
    bool strict_;
    bool ready_ = false;
    std::map<quint32, quint64> last_; // scan code -> time of its last event
};

} // namespace

int main(int argc, char** argv) {
    const bool strict = argc == 4 && std::strcmp(argv[3], "--strict") == 0;
    if (argc != 3 && !strict)
        return 2;
    ::setenv("QT_QPA_PLATFORM", "wayland", 1);
    QGuiApplication application(argc, argv);
    std::FILE* out = std::fopen(argv[2], "ab");
    if (!out)
        return 1;
    Recorder window(out, strict);
    window.setTitle(QString::fromUtf8(argv[1]));
    window.resize(300, 100);
    window.show();
    return application.exec();
}
