#include "TolmoKern/Transcriptie/Motor.h"

namespace tolmo {

std::string_view label(Motor m) {
    switch (m) {
        case Motor::openAI:
            return "OpenAI (standaard)";
        case Motor::mistral:
            return "Mistral (EU-modus)";
        case Motor::test:
            return "Testmodus (geen netwerk)";
        case Motor::tolmo:
            return "Tolmo-server";
    }
    return {};
}

std::string_view aanbiederNaam(Motor m) {
    return m == Motor::mistral ? "Mistral" : "OpenAI";
}

std::string_view aanbiederCode(Motor m) {
    return m == Motor::mistral ? "mistral" : "openai";
}

}  // namespace tolmo
