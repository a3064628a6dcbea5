#pragma once

// quenix-ir lirc-import FILE.conf: prints a device section for each remote it can map.
int LircImportCommand(int argc, char** argv);
