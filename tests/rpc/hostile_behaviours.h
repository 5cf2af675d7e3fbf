// What clients do that they should not, by table.
#pragma once

#include <span>

#include "tests/rpc/hostile_processes.h"

// Bytes that are not what the protocol says, or not what it says there.
std::span<const Behaviour> OutsideTheProtocol();
// Well-made requests with arguments and handles that are not.
std::span<const Behaviour> BadArguments();
// Taking more than anybody needs, or everything there is. The outcome tells how far it got.
std::span<const Behaviour> Greed();
// A client's whole life, up to Victims::step of its kSteps.
inline constexpr int kSteps = 13;
extern const Behaviour kLife;
// Connects and says nothing until it is told something; the outcome is that.
extern const Behaviour kPatience;
