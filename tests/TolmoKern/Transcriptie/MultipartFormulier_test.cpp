#include "TolmoKern/Transcriptie/MultipartFormulier.h"

#include <gtest/gtest.h>

#include <regex>
#include <set>

#include "nep/TijdelijkeOpname.h"

namespace tolmo {
namespace {

using namespace std::string_literals;

// Audio bytes that look like the form's own syntax, with a NUL in the middle.
const std::string lastigeBytes = "RIFF\0\x01\r\n--Tolmo-\r\n\r\n\xff"s;

// The layout itself, and the Content-Type that names the boundary, are checked byte for byte
// in the engines' request test.
TEST(MultipartFormulier, TheBodyCanBeTakenAgainAndLeavesTheBufferAlone) {
    MultipartFormulier f;
    f.voegTekstToe("model", "gpt-transcribe");
    f.voegBestandToe("file", "dictaat.wav", "audio/wav", lastigeBytes);
    const std::string buffer = f.buffer();
    const std::string body = f.body();
    EXPECT_EQ(body, buffer + "--" + f.grens() + "--\r\n");
    EXPECT_TRUE(buffer.ends_with(lastigeBytes + "\r\n"));
    EXPECT_EQ(f.body(), body);
    EXPECT_EQ(f.buffer(), buffer);
    EXPECT_EQ(std::move(f).body(), body);
}

TEST(MultipartFormulier, BoundaryIsTolmoAndAFreshUpperCaseUuid) {
    const std::regex vorm(
        "Tolmo-[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
    std::set<std::string> gezien;
    for (int i = 0; i < 200; ++i) {
        const std::string g = MultipartFormulier().grens();
        ASSERT_TRUE(std::regex_match(g, vorm)) << g;
        gezien.insert(g);
    }
    EXPECT_EQ(gezien.size(), 200U);
}

TEST(MultipartFormulier, FileIsReadIntoTheBodyOrRefusedWithoutATrace) {
    nep::TijdelijkeMap map;
    const auto vol = map.schrijf("vol.wav", lastigeBytes);
    const auto leeg = map.schrijf("leeg.wav", "");

    MultipartFormulier uitBytes;
    MultipartFormulier uitBestand;
    for (MultipartFormulier* f : {&uitBytes, &uitBestand}) {
        f->voegTekstToe("model", "m");
    }
    uitBytes.voegBestandToe("file", "dictaat.m4a", "audio/mp4", lastigeBytes);
    ASSERT_TRUE(uitBestand.leesBestandIn("file", "dictaat.m4a", "audio/mp4", vol));
    // The same bytes apart from the (random) boundary.
    std::string verwacht = uitBytes.buffer();
    for (auto p = verwacht.find(uitBytes.grens()); p != std::string::npos;
         p = verwacht.find(uitBytes.grens(), p)) {
        verwacht.replace(p, uitBytes.grens().size(), uitBestand.grens());
    }
    EXPECT_EQ(uitBestand.buffer(), verwacht);

    for (const auto& pad : {leeg, map.pad() / "bestaat-niet.wav", map.pad()}) {
        SCOPED_TRACE(pad.string());
        MultipartFormulier f;
        f.voegTekstToe("model", "m");
        const std::string voor = f.buffer();
        EXPECT_FALSE(f.leesBestandIn("file", "dictaat.wav", "audio/wav", pad));
        EXPECT_EQ(f.buffer(), voor);
    }
}

}  // namespace
}  // namespace tolmo
