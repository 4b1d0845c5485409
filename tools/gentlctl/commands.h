#pragma once

namespace gentlctl
{

class Commands;

// Each of these declares a command and its options.

void DeclareList(Commands &commands);
void DeclareInfo(Commands &commands);
void DeclareXml(Commands &commands);
void DeclareGet(Commands &commands);
void DeclareSet(Commands &commands);
void DeclareFormats(Commands &commands);
void DeclareFiles(Commands &commands);
void DeclareCalibration(Commands &commands);
void DeclareGrab(Commands &commands);
void DeclareSettings(Commands &commands);
void DeclareEvents(Commands &commands);
void DeclareStream(Commands &commands);
void DeclareSoak(Commands &commands);
void DeclareBench(Commands &commands);

} // namespace gentlctl
