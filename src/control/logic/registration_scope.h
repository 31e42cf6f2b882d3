#pragma once

namespace rigel {

// Whether the classes are registered for the whole machine or for the current user only.
enum class RegistrationScope { kMachine, kPerUser };

}  // namespace rigel
