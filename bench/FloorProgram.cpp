// The least that a program of our libraries can be: a tray item and a window with a text and 500 rows, the
// database open, the audio stack warm with its encoder loaded, the session bus and an HTTP handle at hand,
// and nothing of Pell. What `pell` costs beyond this is our own doing.
#include <QApplication>
#include <QDBusConnection>
#include <QListWidget>
#include <QMainWindow>
#include <QSplitter>
#include <QSystemTrayIcon>
#include <QTextEdit>
#include <cstdio>
#include <curl/curl.h>
#include <gst/gst.h>
#include <memory>
#include <sqlite3.h>

namespace {

template <auto Free>
struct Freed {
  template <typename T>
  void operator()(T* object) const {
    Free(object);
  }
};

using Element = std::unique_ptr<GstElement, Freed<gst_object_unref>>;
using Connection = std::unique_ptr<sqlite3, Freed<sqlite3_close>>;
using Handle = std::unique_ptr<CURL, Freed<curl_easy_cleanup>>;

Element readyEncoder() {
  gst_init(nullptr, nullptr);
  Element encoder(gst_element_factory_make("avenc_aac", nullptr));
  if (encoder) gst_element_set_state(encoder.get(), GST_STATE_READY);
  return encoder;
}

Connection openDatabase(const char* path) {
  sqlite3* opened = nullptr;
  sqlite3_open(path, &opened);
  sqlite3_exec(opened, "PRAGMA journal_mode=WAL; CREATE TABLE IF NOT EXISTS rows (text TEXT)", nullptr,
               nullptr, nullptr);
  return Connection(opened);
}

}  // namespace

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  const Connection database = openDatabase(argc > 1 ? argv[1] : ":memory:");
  const Element encoder = readyEncoder();
  const QDBusConnection bus = QDBusConnection::sessionBus();
  curl_global_init(CURL_GLOBAL_DEFAULT);
  const Handle http(curl_easy_init());

  QPixmap dot(22, 22);
  dot.fill(Qt::darkGray);
  QMainWindow window;
  auto* halves = new QSplitter;
  auto* rows = new QListWidget;
  for (int row = 0; row < 500; ++row) rows->addItem(QString("Row %1").arg(row));
  halves->addWidget(rows);
  halves->addWidget(new QTextEdit("Some text"));
  window.setCentralWidget(halves);
  window.resize(480, 320);
  window.show();
  QSystemTrayIcon item{QIcon(dot)};
  item.show();
  if (!encoder) std::fprintf(stderr, "no avenc_aac: the floor is lower than it should be\n");

  if (!bus.isConnected()) std::fprintf(stderr, "no session bus: the floor is lower than it should be\n");

  const int code = QApplication::exec();
  if (encoder) gst_element_set_state(encoder.get(), GST_STATE_NULL);
  return code;
}
