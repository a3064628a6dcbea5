#pragma once

// quenix-ir import FILE: device sections from a Flipper .ir file, a keymap, Pronto hex or a
// lircd.conf (a folder: every lircd.conf under it). quenix-ir export: a device in another form.
int ImportCommand(int argc, char** argv);
int ExportCommand(int argc, char** argv);
