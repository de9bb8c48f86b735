#pragma once

#include <string_view>

#include "TolmoKern/Tekst/RuweWaarden.h"

namespace tolmo {

// The speech-to-text engine chosen in the settings. tolmo is the relay server.
enum class Motor { openAI, mistral, test, tolmo };

inline constexpr RuweWaarden<Motor, 4> motorWaarden{{{{Motor::openAI, "openai"},
                                                      {Motor::mistral, "mistral"},
                                                      {Motor::test, "test"},
                                                      {Motor::tolmo, "tolmo"}}}};

std::string_view label(Motor m);
// How a provider payload reads in messages ("Mistral" or "OpenAI") and in codes.
std::string_view aanbiederNaam(Motor m);
std::string_view aanbiederCode(Motor m);

// The provider behind the relay server.
enum class Aanbieder { openAI, mistral };

inline constexpr RuweWaarden<Aanbieder, 2> aanbiederWaarden{
    {{{Aanbieder::openAI, "openai"}, {Aanbieder::mistral, "mistral"}}}};

constexpr Motor alsMotor(Aanbieder a) {
    return a == Aanbieder::mistral ? Motor::mistral : Motor::openAI;
}

}  // namespace tolmo
