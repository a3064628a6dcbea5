// The Windows code paths under Wine. Where Wine and Windows differ, each check holds on both
// and the comment says what Windows does.

#include "actions/launcher.h"
#include "actions/mouse.h"
#include "actions/winamp.h"
#include "actions/x10.h"
#include "core/program_folder.h"
#include "io/capture_library.h"
#include "io/receiver_controller.h"
#include "support/rig.h"
#include "support/sim_serial.h"
#include "support/txd_frame.h"

#include <gmock/gmock.h>

#include <windows.h>

#include <chrono>
#include <functional>

namespace quenix::testing {
namespace {

using std::chrono::steady_clock;

class ComPortTest : public ::testing::Test, protected BasicRig<SystemClock> {
protected:
    // What has come back on the loopback port within a second, up to `size` bytes.
    std::string echo(PortHandle h, std::size_t size) {
        std::string got;
        for (auto end = steady_clock::now() + std::chrono::seconds(1); got.size() < size && steady_clock::now() < end;)
            got += port.ReadComPort(h);
        return got;
    }

    std::unique_ptr<SerialDriver> driver = MakeSystemSerialDriver({});
    SerialPort port{*driver};
};

TEST_F(ComPortTest, PortsOpenOnceAndTransfersMoveAtMost100BytesWithoutWaiting) {
    // Windows also answers false for a port without a device, and refuses a second open of a
    // port; Wine answers a default configuration for any name and shares a serial device.
    EXPECT_TRUE(port.ComPortExists(3));
    EXPECT_EQ(port.OpenComPort(9), kNoPort);
    const PortHandle h = port.OpenComPort(3);
    ASSERT_NE(h, kNoPort);
    ASSERT_TRUE(port.ConfigureComPort(9600, 8, h));

    const auto before = steady_clock::now();
    EXPECT_EQ(port.ReadComPort(h), "");
    EXPECT_LT(steady_clock::now() - before, std::chrono::milliseconds(50));

    std::string sent;
    for (int i = 0; i < 150; ++i) sent += static_cast<char>(i * 7 % 256); // CR, LF, NUL among them
    // Wine reports 0 bytes written for a pty although they all arrive; Windows reports 100.
    // Either way the layer says the write went well.
    ASSERT_TRUE(port.WriteComPort(sent.substr(0, 100), h));
    ASSERT_TRUE(port.WriteComPort(sent.substr(100), h));
    ::Sleep(200); // the loopback has echoed everything
    EXPECT_EQ(port.ReadComPort(h), sent.substr(0, 100));
    EXPECT_EQ(port.ReadComPort(h), sent.substr(100));

    // Windows reads the modem lines of a real port; on a pty GetCommModemStatus fails, which
    // reads as every line off.
    EXPECT_FALSE(port.IsDCDOn(h));
    port.CloseHandle(h);
}

// One address and function exchange with the CM11; the peer checks every byte it heard.
TEST_F(ComPortTest, X10ExchangeWithTheCm11) {
    const PortHandle h = port.OpenComPort(1);
    ASSERT_TRUE(port.ConfigureComPort(4800, 8, h));
    EXPECT_TRUE(X10Send(port, h, clock, 1, 1, kX10On, 0));
    port.CloseHandle(h);
}

TEST_F(ComPortTest, IRManHandshake) {
    store.settings().comPort = 2;
    FakeView view;
    FakeCaptureLibrary library;
    ReceiverController receiver{ctx, view, port, library};
    receiver.listPorts();
    ASSERT_NE(ctx.irPortHandle, kNoPort);
    receiver.onIRManMenu();
    ASSERT_EQ(dialogs.messages.size(), 1u);
    EXPECT_EQ(dialogs.messages[0].text, "IRMan interface initialized OK");
    port.CloseHandle(ctx.irPortHandle);
}

// The software carrier through SerPulse.dll: the loopback gives back the character stream of
// the cells, whole. On its own port: Wine cannot switch a pty that it set to 8 bits before to
// 6 bits (tcsetattr answers EINVAL); Windows switches any port.
TEST_F(ComPortTest, CaptureLibrarySendsTheCarrierStream) {
    const PortHandle h = port.OpenComPort(4);
    ASSERT_TRUE(port.ConfigureComPort(115200, 6, h));
    auto library = MakeCaptureLibrary(QUENIX_PROGRAM_DIR);
    ASSERT_EQ(library->SetHandle(h), 1) << library->error();
    const TxdFrame frame = SonyTxdFrame();
    EXPECT_TRUE(library->IRSend(frame.packed.data(), static_cast<int>(frame.packed.size()), 550, 1).has_value());
    EXPECT_EQ(echo(h, frame.stream.size()), frame.stream);
    // Nothing received: a monitor call reads the line, which on a pty reads as DCD off (Windows
    // reads the real line), and gives up after its short wait for an edge.
    std::vector<std::uint8_t> samples(600);
    EXPECT_EQ(library->IRMonitorN(samples.data(), 20), 0);
    library->SetHandle(kNoPort);
    port.CloseHandle(h);
}

TEST(CaptureLibrary, AMissingLibraryGivesTheSystemsText) {
    TempDir folder;
    auto library = MakeCaptureLibrary(folder.str());
    EXPECT_FALSE(library->Ready());
    char text[256] = {};
    ::FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, ERROR_MOD_NOT_FOUND, 0, text,
                     sizeof text, nullptr);
    std::string system = text;
    system.erase(system.find_last_not_of("\r\n") + 1);
    EXPECT_THAT(library->error(), ::testing::EndsWith(CaptureLibraryFileName() + ": " + system));
}

// The player's window: records what arrives, answers queries, writes its playlist when asked.
struct Message {
    UINT id;
    WPARAM w;
    LPARAM l;
    bool operator==(const Message&) const = default;
};
std::vector<Message> playerMessages;
std::string playerFolder;

LRESULT CALLBACK PlayerWindow(HWND h, UINT id, WPARAM w, LPARAM l) {
    if (id != WM_USER && id != WM_COMMAND) return ::DefWindowProcA(h, id, w, l);
    playerMessages.push_back({id, w, l});
    if (id == WM_USER && l == 120)
        std::ofstream(playerFolder + "winamp.m3u", std::ios::binary)
            << "#EXTM3U\r\n#EXTINF:1,One\r\nC:\\music\\one.mp3\r\n#EXTINF:2,Two\r\n"
               "C:\\music\\two.mp3\r\n#EXTINF:3,Three\r\nC:\\music\\three.mp3\r\n";
    const std::map<std::pair<WPARAM, LPARAM>, LRESULT> answers{
        {{0, 0}, 0x5010}, {{0, 104}, 1}, {{0, 105}, 61000}, {{1, 105}, 240}, {{0, 120}, 1}};
    auto a = answers.find({w, l});
    return id == WM_USER && a != answers.end() ? a->second : 0;
}

class WinampTest : public ::testing::Test, protected Rig {
protected:
    WinampTest() {
        WNDCLASSA c{};
        c.lpfnWndProc = PlayerWindow;
        c.hInstance = ::GetModuleHandleA(nullptr);
        c.lpszClassName = "Winamp v1.x";
        ::RegisterClassA(&c);
        window_ =
            ::CreateWindowA(c.lpszClassName, "", WS_OVERLAPPED, 0, 0, 10, 10, nullptr, nullptr, c.hInstance, nullptr);
    }
    ~WinampTest() override { ::DestroyWindow(window_); }
    // What reached the window since the last call, posted messages included.
    std::vector<Message> received() {
        for (MSG m; ::PeekMessageA(&m, nullptr, 0, 0, PM_REMOVE);) ::DispatchMessageA(&m);
        return std::exchange(playerMessages, {});
    }

    std::unique_ptr<WinampLink> link = MakeSystemWinampLink(dir.str() + "\\winamp.exe");
    clsWinamp player{*link, playerFolder = dir.str() + "\\"};
    HWND window_;
};

TEST_F(WinampTest, EachCallIsItsMessage) {
    const UINT U = WM_USER, C = WM_COMMAND;
    const std::tuple<std::function<int()>, int, std::vector<Message>> cases[] = { // call, result, messages
        {[&] { return player.Version(); }, 0x5010, {{U, 0, 0}}},
        {[&] { return player.AddPlaylist("a b"), 0; }, 0, {{U, 'a', 100}, {U, ' ', 100}, {U, 'b', 100}, {U, 0, 100}}},
        {[&] { return player.DeletePlaylist(), 0; }, 0, {{U, 0, 101}}},
        {[&] { return player.StartPlay(), 0; }, 0, {{U, 0, 102}}},
        {[&] { return player.ChDir("C:"), 0; }, 0, {{U, 'C', 103}, {U, ':', 103}, {U, 0, 103}}},
        {[&] { return player.IsPlaying(); }, 1, {{U, 0, 104}}},
        {[&] { return player.SongPos(); }, 61000, {{U, 0, 105}}},
        {[&] { return player.SongLen(); }, 240, {{U, 1, 105}}},
        {[&] { return player.JumpToTime(5000), 0; }, 0, {{U, 5000, 106}}},
        {[&] { return player.RefreshPlaylist() * 10 + player.PlaylistCount(); }, 17, {{U, 0, 120}}},
        {[&] { return player.CommandCloseWinamp(); }, 1, {{C, 40001, 0}}},
        {[&] { return player.PressButton(kWinampRewind); }, 1, {{C, 40144, 0}}},
    };
    for (const auto& [call, result, messages] : cases) {
        EXPECT_EQ(call(), result);
        EXPECT_EQ(received(), messages) << messages[0].l;
    }
    EXPECT_EQ(player.PlaylistSong(5), "C:\\music\\two.mp3");
}

TEST(Mouse, MovesAndButtonsReachThePointer) {
    auto driver = MakeSystemMouseDriver();
    clsMouse mouse(*driver);
    ASSERT_TRUE(mouse.Available());
    mouse.MoveTo(200, 150);
    mouse.MoveRelative(-5, 10);
    EXPECT_EQ(std::make_pair(mouse.CurrentX(), mouse.CurrentY()), std::make_pair(195, 160));
    for (auto [button, key] : {std::pair{1, VK_LBUTTON}, {2, VK_RBUTTON}, {4, VK_MBUTTON}}) {
        mouse.MouseDown(button);
        EXPECT_TRUE(::GetAsyncKeyState(key) & 0x8000) << button;
        mouse.MouseUp(button);
        EXPECT_FALSE(::GetAsyncKeyState(key) & 0x8000) << button;
    }
}

// The started program reports how it was asked to show its window.
TEST(Launcher, ProgramsStartHiddenOrShownWithoutFocus) {
    TempDir dir;
    char self[MAX_PATH];
    ::GetModuleFileNameA(nullptr, self, MAX_PATH);
    auto launcher = MakeSystemLauncher();
    for (auto [shown, mode] : {std::pair{false, SW_HIDE}, {true, SW_SHOWNOACTIVATE}}) {
        const std::string report = dir.str() + "\\" + std::to_string(shown);
        ASSERT_TRUE(launcher->start("\"" + std::string(self) + "\" --show-report " + report, shown));
        for (int i = 0; i < 100 && TempDir::ReadFile(report).empty(); ++i) ::Sleep(100);
        EXPECT_EQ(TempDir::ReadFile(report), std::to_string(mode));
    }
}

TEST(ConfigFile, ProgramFolderAndCrLfBytes) {
    EXPECT_TRUE(std::filesystem::exists(ProgramFolder() + "\\test_win32.exe")) << ProgramFolder();
    Rig rig;
    const std::string shipped = DefaultConfiguration();
    const char* beep = rig.store.settings().beepOn ? "1" : "0";
    ASSERT_TRUE(rig.store.SetGeneralKey("BEEPON", "1"));
    ASSERT_TRUE(rig.store.SetGeneralKey("BEEPON", beep));
    EXPECT_EQ(rig.OnDisk(), shipped);
    EXPECT_FALSE(std::filesystem::exists(rig.dir.file("telvorin.cfg.tmp")));
}

} // namespace
} // namespace quenix::testing

int main(int argc, char** argv) {
    if (argc == 3 && std::string(argv[1]) == "--show-report") {
        STARTUPINFOA si{};
        ::GetStartupInfoA(&si);
        std::ofstream(argv[2]) << ((si.dwFlags & STARTF_USESHOWWINDOW) ? si.wShowWindow : -1);
        return 0;
    }
    ::testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
