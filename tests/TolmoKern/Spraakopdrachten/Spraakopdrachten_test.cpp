#include "TolmoKern/Spraakopdrachten/Spraakopdrachten.h"

#include <gtest/gtest.h>

#include <cctype>
#include <string>
#include <vector>

#include "TolmoKern/Keten/TolmoKeten.h"
#include "TolmoKern/Tekst/Tekst.h"
#include "nep/NepMotor.h"

namespace tolmo {
namespace {

// Spoken text in, typed text out.
TEST(Spraakopdrachten, SpokenTextBecomesTypedText) {
    const struct {
        std::string gesproken;
        std::string verwacht;
    } gevallen[] = {
        // Commands on their own are carried out; inside a sentence they stay words.
        {"Dat klopt. Nieuwe regel. Tot morgen.", "Dat klopt.\nTot morgen."},
        {"de nieuwe regel geldt", "de nieuwe regel geldt"},
        {"3 punt 5", "3 punt 5"},
        {"een vraagteken", "een vraagteken"},
        {"Klopt dat vraagteken", "Klopt dat?"},
        {"Dat is alles. Nieuwe alinea. Groet, Jan", "Dat is alles.\n\nGroet, Jan"},
        {"Wat mooi uitroepteken", "Wat mooi!"},
        {"Let op dubbele punt alles", "Let op: alles"},
        // Without a pause or a boundary around it, a new line stays text.
        {"hallo nieuwe regel hoe gaat het", "hallo nieuwe regel hoe gaat het"},
        {"Er geldt nieuwe regel Jan mag", "Er geldt\nJan mag"},
        {"Hallo, nieuwe regel, hoe gaat het", "Hallo,\nHoe gaat het"},
        // A layout command right after admits the one before; a punctuation mark does not.
        {"Hallo nieuwe regel nieuwe regel daar", "Hallo\n\nDaar"},
        {"Het geldt nieuwe regel punt", "Het geldt nieuwe regel."},
        // A sentence end hidden behind a closing quote or parenthesis still counts.
        {"Hij zei \"ja.\" Nieuwe regel dan", "Hij zei \"ja.\"\nDan"},
        // Neighbouring words block their commands.
        // Determiners before "nieuwe regel", "nieuwe alinea" and "dubbele punt".
        {"Ik ken elke nieuwe regel. Goed", "Ik ken elke nieuwe regel. Goed"},
        {"Read the nieuwe regel. Ok", "Read the nieuwe regel. Ok"},
        {"Lees zo'n nieuwe alinea. Goed", "Lees zo'n nieuwe alinea. Goed"},
        {"Write a nieuwe regel. Ok", "Write a nieuwe regel. Ok"},
        {"Ik ken ook nieuwe regel. Goed", "Ik ken ook\nGoed"},
        // "dubbele" is itself a modifier, so the "punt" after it stays a word as well.
        {"de dubbele punt staat", "de dubbele punt staat"},
        // Modifiers before "punt".
        {"Dat is een goed punt", "Dat is een goed punt"},
        {"Dat was het punt", "Dat was het punt"},
        {"Het ene punt op punt", "Het ene. Op punt"},
        // Numbers on both sides of "punt" and "komma"; one side is not enough.
        {"12 komma 5 procent", "12 komma 5 procent"},
        {"drie komma vijf procent", "drie komma vijf procent"},
        {"versie 3 punt", "versie 3."},
        {"ja komma 5 keer", "ja, 5 keer"},
        // Words that talk about a question or exclamation mark.
        {"een dikke uitroepteken erbij", "een dikke uitroepteken erbij"},
        {"Zet geen vraagteken", "Zet geen vraagteken"},
        {"Echt waar grote vraagteken", "Echt waar grote vraagteken"},
        // "opsomming" as a noun.
        {"Maak opsomming van alles", "Maak opsomming van alles"},
        {"Korte opsomming is klaar", "Korte opsomming is klaar"},
        {"Hier volgt mijn opsomming melk", "Hier volgt mijn opsomming melk"},
        {"Boodschappen opsomming", "Boodschappen opsomming"},
        {"Graag opsomming punt", "Graag opsomming."},
        // "Schrap dat" takes back the last sentence, only at a sentence start.
        {"Eerste zin. Tweede zin. Schrap dat. Derde zin.", "Eerste zin. Derde zin."},
        {"Een. twee drie. Laatste zin weg. vier", "Een. Vier"},
        // In the middle of a sentence, or not closed off, it is text.
        {"Ik zei schrap dat niet.", "Ik zei schrap dat niet."},
        {"Eerste zin. Schrap dat en verder", "Eerste zin. Schrap dat en verder"},
        // No earlier sentence end: everything goes, and the next word starts afresh.
        {"Hallo daar. Schrap dat. dag", "Dag"},
        {"Hallo nieuwe regel. Daar. Schrap dat.", ""},
        // After a spoken command the phrase starts a sentence, and it may be the last word.
        {"Eerste. Nog iets punt schrap dat", "Eerste."},
        // Followed by a layout command it needs no full stop of its own.
        {"Een. Twee. Schrap dat nieuwe regel drie", "Een.\nDrie"},
        // At the very start there is nothing before it to take back: it stays text.
        {"Schrap dat. Verder", "Schrap dat. Verder"},
        // A pending opening quote is taken back with the sentence.
        {"Een. Twee. Open aanhalingstekens schrap dat. drie", "Een. Drie"},
        // Quotes attach to the neighbouring words.
        {"Hij zei open aanhalingstekens ja, sluit aanhalingstekens en ging",
         "Hij zei \"ja,\" en ging"},
        {"Hij zei dubbele punt aanhalingstekens openen ja aanhalingstekens sluiten",
         "Hij zei: \"ja\""},
        {"Sluit aanhalingstekens hallo", "hallo"},
        {"Aanhalingsteken openen tekst aanhalingsteken sluiten punt", "\"tekst\"."},
        // Left open at the end, the quote is still typed.
        {"Hij zei open aanhalingstekens", "Hij zei \""},
        // A spoken list becomes dash lines.
        {"Boodschappen dubbele punt opsomming melk nieuwe regel eieren nieuwe regel brood "
         "einde opsomming Dat was het.",
         "Boodschappen:\n- melk\n- eieren\n- brood\nDat was het."},
        // Sentence ends from the recogniser separate the items too.
        {"Opsomming. Melk. Eieren. Einde opsomming. Klaar.", "- Melk.\n- Eieren.\nKlaar."},
        // A spoken mark still attaches to the item it follows.
        {"Lijst punt opsomming een appel komma peer punt banaan",
         "Lijst.\n- een appel, peer.\n- banaan"},
        // Left open at the end; empty items are never written.
        {"opsomming nieuwe regel appel nieuwe regel nieuwe regel peer", "- appel\n- peer"},
        // Inside a list "schrap dat" takes back the item being spoken, or the one before.
        {"opsomming melk nieuwe regel kaas schrap dat eieren einde opsomming", "- melk\n- eieren"},
        {"opsomming melk nieuwe regel kaas nieuwe regel schrap dat ham", "- melk\n- ham"},
        // A paragraph break leaves the list.
        {"opsomming appel nieuwe alinea verder", "- appel\n\nVerder"},
        // A new line straight after the list adds no empty line.
        {"opsomming appel einde opsomming nieuwe regel verder", "- appel\nVerder"},
        // After the list, a closed item is one sentence for "schrap dat".
        {"opsomming appel einde opsomming Dag daar. Schrap dat. verder", "- appel\nVerder"},
        {"Boodschappen. Opsomming appel einde opsomming schrap dat", "Boodschappen."},
        // Ending a list that was never opened changes nothing.
        {"Klaar einde opsomming en dan", "Klaar en dan"},
        // Commands at the edges, and the capitals after them.
        {"Komma en dan", ", en dan"},
        {"Tot morgen nieuwe regel", "Tot morgen\n"},
        // A comma said after a new line belongs to the word before the break, and the capital
        // stays pending for the next word.
        {"Klaar nieuwe regel. Komma weet je", "Klaar,\nWeet je"},
        {"klaar punt open aanhalingstekens ijs is lekker", "klaar. \"IJs is lekker"},
        {"Oké. Nieuwe regel. 3 appels", "Oké.\n3 appels"},
        {"nieuw toestel punt iPhone kopen", "nieuw toestel. iPhone kopen"},
        // White space is collapsed and text is never broken.
        {"  Dat  klopt.\n\nNieuwe\tregel.\u00a0Tot   morgen. \n", "Dat klopt.\nTot morgen."},
        {" \n\t ", ""},
        // Invalid UTF-8 comes out as U+FFFD, never as broken bytes.
        {"a\xff komma b", "a\xEF\xBF\xBD, b"},
    };
    for (const auto& g : gevallen) {
        SCOPED_TRACE(g.gesproken);
        EXPECT_EQ(Spraakopdrachten::pasToe(g.gesproken), g.verwacht);
    }
}

TEST(Spraakopdrachten, TokensKeepTheWordAndItsCore) {
    using T = Spraakopdrachten::Token;
    const std::vector<T> verwacht{
        {"Hallo,", "hallo", false}, {"\"Wereld!\"", "wereld", true},
        {"(zo'n)", "zo'n", false},  {"\u00c9N.", "\u00e9n", true},
        {"...", "", true},          {"3,5", "3,5", false},
        {"ja.\u00bb", "ja", false},
    };
    EXPECT_EQ(Spraakopdrachten::tokens(" Hallo,  \"Wereld!\"\n(zo'n)\u00a0\u00c9N. ... 3,5 "
                                       "ja.\u00bb\u2028"),
              verwacht);
    // The core drops exactly what ICU calls punctuation, ASCII included, and keeps symbols.
    for (char c = '!'; c <= '~'; ++c) {
        if (std::isalnum(static_cast<unsigned char>(c)) == 0) {
            const std::string w{c, 'x', c};
            const bool leesteken = Tekst::isLeesteken(static_cast<char32_t>(c));
            EXPECT_EQ(Spraakopdrachten::tokens(w).at(0).kern, leesteken ? "x" : w) << c;
        }
    }
}

TEST(Spraakopdrachten, SentenceEndLooksPastClosingQuotesAndParenthesis) {
    // Only the closing marks listed count: not a guillemet.
    const std::pair<std::string, bool> gevallen[] = {
        {"ja?\"", true}, {"ja!\u2019", true},  {"ja.\u201d')", true},
        {"", false},     {"ja.\u00bb", false}, {"ja,", false},
    };
    for (const auto& [woord, eindigt] : gevallen) {
        EXPECT_EQ(Spraakopdrachten::eindigtZin(woord), eindigt) << woord;
    }
}

// The whole chain: replacements first, then the commands, unless the style is literal.
TEST(Spraakopdrachten, ChainAppliesCommandsExceptInTheLiteralStyle) {
    const struct {
        Stijl stijl;
        bool aan;
        std::string verwacht;
    } gevallen[] = {
        {Stijl::neutraal, true, "Zie Tolmo.\nGroet"},
        {Stijl::letterlijk, true, "Zie Tolmo punt nieuwe regel groet"},
        {Stijl::neutraal, false, "Zie Tolmo punt nieuwe regel groet"},
    };
    for (const auto& g : gevallen) {
        SCOPED_TRACE(std::string(stijlWaarden.naam(g.stijl)) + (g.aan ? " aan" : " uit"));
        TolmoKeten keten;
        keten.transcriptie = std::make_unique<nep::NepMotor>("Zie tolmoo punt nieuwe regel groet");
        keten.vervangingen = {{"Tolmo", {"tolmoo"}}};
        keten.spraakopdrachten = g.aan;
        keten.spraakopdrachtenStap = &Spraakopdrachten::pasToe;
        Opname opname;
        opname.bestand = "/tmp/bestaat-niet.wav";
        const KetenResultaat r = keten.verwerk(opname, g.stijl, {});
        EXPECT_EQ(r.tekst, g.verwacht);
        EXPECT_FALSE(r.opschoonProbleem);
        EXPECT_FALSE(r.tijden.opschonenOvergeslagen) << "without a cleaner nothing is skipped";
    }
}

}  // namespace
}  // namespace tolmo
