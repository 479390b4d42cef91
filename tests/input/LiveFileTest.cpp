#include "input/LiveFile.h"

#include <glibmm/init.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "app/diagnostics/MessageLog.h"
#include "app/store/Store.h"
#include "config/settings/Settings.h"
#include "support/Files.h"

namespace trelis::test {
namespace {

class LiveFile : public testing::Test {
  protected:
    LiveFile() {
        Glib::init();
        setenv("HOME", (folder_ / "").c_str(), 1);
    }
    Folder folder_;
};

TEST_F(LiveFile, StoredConnectionComesBack) {
    const StoredConnection connection = {"Truck 7", "logger1", "778", "p=q ", "a.vsd", "/d/b.dbc"};
    const std::string path = folder_.write("x.tvlive", "old");
    ASSERT_TRUE(writeStoredConnection(path, connection));
    EXPECT_EQ(contentOf(path),
              "TITLE=Truck 7\nSERVER=logger1\nPORT=778\nKEY=p=q \nVSD=a.vsd\nDBC=/d/b.dbc\n");
    EXPECT_EQ(modeOf(path), 0600U);
    auto read = readStoredConnection(path);
    ASSERT_TRUE(read);
    ASSERT_TRUE(writeStoredConnection(folder_ / "again", *read));
    EXPECT_EQ(contentOf(folder_ / "again"), contentOf(path));
    resolvePaths(*read, path);
    EXPECT_EQ(read->vsdFile, folder_ / "a.vsd");
    EXPECT_EQ(read->dbcFile, "/d/b.dbc");
}

TEST_F(LiveFile, OnlyWhatIsSetIsWritten) {
    StoredConnection connection;
    connection.server = "host\nKEY=injected";
    ASSERT_TRUE(writeStoredConnection(folder_ / "y.tvlive", connection));
    EXPECT_EQ(contentOf(folder_ / "y.tvlive"), "TITLE=\nSERVER=host\nPORT=777\n");
}

TEST_F(LiveFile, OddFilesAreRead) {
    const auto read = readStoredConnection(
        folder_.write("odd", "no sign\r\nSERVER=a\r\nserver=b\n=c\nDBC==/x.dbc\nPORT"));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->server, "a");
    EXPECT_EQ(read->dbcFile, "=/x.dbc");
    EXPECT_EQ(read->port, "");
    EXPECT_FALSE(readStoredConnection(folder_ / "missing"));
    EXPECT_FALSE(readStoredConnection(folder_ / ""));  // a directory
    EXPECT_TRUE(readStoredConnection("/dev/zero"));    // bounded
}

TEST_F(LiveFile, LastConnectionIsRemembered) {
    Store store;
    store.liveFilePath = folder_ / ".sigmiralive";
    store.title = "T";
    store.hostName = "h";
    store.decryptionKey = "geheim";
    Settings& settings = Settings::instance();
    settings.setDbFile("/x.dbc");
    settings.setVsdFile(kNoFile);
    saveLiveFile(store);
    EXPECT_EQ(contentOf(store.liveFilePath),
              "TITLE=T\nSERVER=h\nPORT=777\nKEY=geheim\nDBC==/x.dbc\n");
    EXPECT_EQ(modeOf(store.liveFilePath), 0600U);

    settings.setDbFile(kNoFile);
    settings.setVsdFile("/x.vsd");
    store.decryptionKey.clear();
    saveLiveFile(store);
    EXPECT_EQ(contentOf(store.liveFilePath), "TITLE=T\nSERVER=h\nPORT=777\nVSD=/x.vsd\n");

    settings.setVsdFile(kNoFile);
    store.liveFilePath = folder_ / "no/such/folder";
    saveLiveFile(store);
    EXPECT_EQ(MessageLog::instance().pop().text, "Couldn't create " + store.liveFilePath);
}

}  // namespace
}  // namespace trelis::test
