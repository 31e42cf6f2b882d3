#include "detect/platform/mother_board.h"

namespace rigel {

MotherBoard::MotherBoard() : Detector(nullptr, L"Error in Motherboard detection.") {}

void MotherBoard::Run() {}

}  // namespace rigel
