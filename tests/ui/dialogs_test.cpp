// The real file dialogs, message boxes and ImportForm, driven as a user drives them.

#include "ui_support.h"
#include "formats/formats.h"
#include "ui/qt_dialogs.h"

#include <QAbstractProxyModel>
#include <QComboBox>
#include <QFileDialog>
#include <QFileSystemModel>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeWidget>

#include <gmock/gmock.h>

namespace quenix::testing {
namespace {

using namespace ::testing;
// Ticks the row of ImportForm that names the section and presses its button.
Step Tick(const char* title, const QString& section) {
    return [=](QDialog& form) {
        EXPECT_EQ(form.objectName(), "ImportForm");
        EXPECT_EQ(form.windowTitle(), title);
        auto* list = form.findChild<QTreeWidget*>("SectionList");
        if (!list || list->headerItem()->text(1) != "Device Description") return form.reject();
        for (QTreeWidgetItem* row : list->findItems(section, Qt::MatchExactly)) row->setCheckState(0, Qt::Checked);
        QTest::mouseClick(form.findChild<QPushButton*>("ImportButton"), Qt::LeftButton);
    };
}

// Types the whole path into the file name box and presses Enter, as a user may.
Step Choose(const std::string& file) {
    return [=](QDialog& d) {
        auto* name = d.findChild<QLineEdit*>("fileNameEdit");
        ASSERT_NE(name, nullptr);
        name->setText(QString::fromStdString(file));
        QTest::keyClick(name, Qt::Key_Return);
    };
}

Step Press(QMessageBox::StandardButton button) {
    return [=](QDialog& d) { qobject_cast<QMessageBox*>(&d)->button(button)->click(); };
}

// Export to a file that exists, in a folder whose name is not ASCII, then import it back.
TEST(Dialogs, ExportAndImportThroughTheRealWindows) {
    QtDialogs dialogs;
    WindowRig rig(&dialogs);
    ASSERT_TRUE(rig.window->startUp());
    std::filesystem::create_directory(rig.dir.file("Téléchargements"));
    const std::string file = rig.dir.file("Téléchargements/sony.cfg").string();
    rig.dir.write("Téléchargements/sony.cfg", "old");

    {
        Modals user({Tick("Export", "[Sony TV]"), Choose(file), Press(QMessageBox::Yes), Press(QMessageBox::Ok)});
        rig.window->action("FileSaveMenu")->trigger();
        // One question about replacing the file, under the name really written.
        EXPECT_THAT(user.texts, ElementsAre("The file " + file + " exist.\r\nDo you want to replace it?",
                                            "The following devices has been exported successfully:\r\nSony TV"));
        EXPECT_THAT(rig.dir.read("Téléchargements/sony.cfg"), HasSubstr("[Sony TV]\r\n"));
    }
    Modals user({Choose(file), Tick("Import", "[Sony TV]"), Press(QMessageBox::Ok), Press(QMessageBox::Ok)});
    rig.window->action("FileImportMenu")->trigger();
    EXPECT_THAT(user.texts, ElementsAre(StartsWith("The device Sony TV exist in the current configuration file."),
                                        StartsWith("The following devices has been imported successfully:")));
}

// File > Export codes writes the selected device as a Flipper file, which imports to the same codes.
TEST(Dialogs, ExportCodesOfTheSelectedDevice) {
    QtDialogs dialogs;
    WindowRig rig(&dialogs);
    ASSERT_TRUE(rig.window->startUp());
    const std::string file = rig.dir.file("box").string();
    Modals user({Choose(file), Press(QMessageBox::Ok)});
    rig.window->action("FileExportCodesMenu")->trigger();
    EXPECT_THAT(user.texts, ElementsAre("The codes of Set-top Box have been exported to " + file + ".ir."));
    const ForeignImport back = ImportCodes(rig.dir.read("box.ir"), "box.ir");
    ASSERT_EQ(back.devices.size(), 1u);
    EXPECT_EQ(back.devices[0].commands.at(0).code, "G00100000110111110001000011101111");
    EXPECT_EQ(back.devices[0].commands.at(0).name, "Power");
}

// The notes on the 44 remotes of one lircd.conf fit the screen: the first line in the box, the
// rest in details that scroll.
TEST(Dialogs, ALongMessageFitsTheScreen) {
    std::string notes = "Notes on the remotes of this file:";
    for (int i = 0; i < 44; ++i) notes += "\r\nThe remote atiusb_" + std::to_string(i) + " cannot be imported.";
    QtDialogs dialogs;
    Modals user({[](QDialog& d) {
        EXPECT_TRUE(qobject_cast<QMessageBox*>(&d)->detailedText().endsWith("atiusb_43 cannot be imported."));
        EXPECT_LE(d.frameGeometry().height(), QGuiApplication::primaryScreen()->availableGeometry().height());
        d.accept();
    }});
    dialogs.message(notes);
    EXPECT_THAT(user.texts, ElementsAre("Notes on the remotes of this file:"));
}

// Each filter lists its patterns; programs without an extension count as executables.
TEST(Dialogs, FileFiltersListWhatTheyName) {
    TempDir dir;
    for (const char* name : {"player", "setup.exe", "run.bat", "tune.wav", "notes.txt"}) dir.write(name, "x");
    std::filesystem::permissions(dir.file("player"), std::filesystem::perms::owner_exec,
                                 std::filesystem::perm_options::add);
    std::unique_ptr<QFileDialog> dialog(NewFileDialog(
        nullptr, "Select file to run",
        {"Executable Files (*.exe;*.com)", "Batch Files (*.bat;*.cmd)", "Sound Files (*.wav;*.mp3)"}));
    dialog->setDirectory(QString::fromStdString(dir.str()));
    dialog->show();
    auto listed = [&] {
        auto* files = static_cast<QFileSystemModel*>(dialog->proxyModel()->sourceModel());
        const QModelIndex root = dialog->proxyModel()->mapFromSource(files->index(QString::fromStdString(dir.str())));
        QStringList names;
        for (int i = 0; i < dialog->proxyModel()->rowCount(root); ++i)
            names << dialog->proxyModel()->index(i, 0, root).data().toString();
        names.sort();
        return names;
    };
    const std::pair<QString, QStringList> filters[] = {
        {"Executable Files", {"player", "setup.exe"}}, {"Batch Files", {"run.bat"}}, {"Sound Files", {"tune.wav"}},
        {"All files", {"notes.txt", "player", "run.bat", "setup.exe", "tune.wav"}}};
    auto* combo = dialog->findChild<QComboBox*>("fileTypeCombo");
    ASSERT_EQ(combo->count(), 4);
    for (const auto& [filter, names] : filters) {
        if (combo->currentText() != filter) QTest::keyClick(combo, Qt::Key_Down);
        EXPECT_EQ(combo->currentText(), filter);
        EXPECT_TRUE(QTest::qWaitFor([&] { return listed() == names; }, 3000))
            << filter.toStdString() << ": " << listed().join(' ').toStdString();
    }
}

} // namespace
} // namespace quenix::testing
