#pragma once

// The fixed command lists of the virtual devices, as comma lists with a trailing comma. The main
// window's command list and the monitored-events editor both offer them.

namespace quenix {

inline constexpr const char* kBtCommands =
    "CONNECTED,DISCONNECTED,YES,C,NO,LEFT,RIGHT,1,2,3,4,5,6,7,8,9,0,#,UP,DOWN,FLIP OPEN,FLIP CLOSED,";
// The browser remote's keypad: input keys of the device "Web" (Web&Play). A learned device
// cannot take its name, or their events would be one.
inline constexpr const char* kWebKeypadDevice = "Web";
inline constexpr const char* kWebCommands = "Power,Menu,Back,Up,Down,Left,Right,OK,Play,Pause,Stop,Prev,Next,Rew,FFw,"
                                            "VolUp,VolDown,Mute,ChUp,ChDown,1,2,3,4,5,6,7,8,9,0,";
inline constexpr const char* kX10Commands = "All-U-Off,All-L-On,On,Off,Dim,Bri,All-L-Off,";
inline constexpr const char* kWinampCommands =
    "POWER ON,POWER OFF,PLAY,PREV,NEXT,PAUSE,STOP,FFW,REW,NEXT in PL,PREV in PL,NEXT 10 in PL,PREV 10 in PL,"
    "VOLUP,VOLDOWN,GETNAME,EQON,REPEAT,SHUFFLE,PLAYLIST,DOUBLE,VISUAL,TIME ELAPSED,TIME REMAINING,";
inline constexpr const char* kDimmerCommands = "ON/OFF,DIM/BRI,";
inline constexpr const char* kMouseCommands =
    "LEFT CLICK,RIGHT CLICK,DOUBLECLICK,LEFT,LEFTUP,UP,RIGHTUP,RIGHT,RIGHTDOWN,DOWN,LEFTDOWN,";

} // namespace quenix
