#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace tolmo {

// A multipart/form-data body written part by part. Every line ends in CRLF:
//   text part:  --B / Content-Disposition: form-data; name="n" / (empty) / value
//   file part:  --B / Content-Disposition: form-data; name="n"; filename="f" /
//               Content-Type: t / (empty) / bytes
//   closing:    --B--
// The boundary is "Tolmo-" and a fresh upper-case UUID, so it cannot occur in a recording by
// accident.
class MultipartFormulier {
  public:
    MultipartFormulier();

    [[nodiscard]] const std::string& grens() const { return grens_; }
    [[nodiscard]] std::string contentType() const;

    void voegTekstToe(std::string_view naam, std::string_view waarde);
    void voegBestandToe(std::string_view naam, std::string_view bestandsnaam, std::string_view type,
                        std::string_view bytes);
    // Reads the file straight into the body, so the audio is held in memory once. Returns
    // false, leaving the form as it was, when the file cannot be read or is empty.
    [[nodiscard]] bool leesBestandIn(std::string_view naam, std::string_view bestandsnaam,
                                     std::string_view type, const std::filesystem::path& pad);

    // The head of a file part whose bytes the caller sends itself (a file still being written);
    // naBestand() follows those bytes.
    void voegBestandsKopToe(std::string_view naam, std::string_view bestandsnaam,
                            std::string_view type) {
        kopVanBestand(naam, bestandsnaam, type);
    }
    [[nodiscard]] std::string naBestand() const { return "\r\n" + slotregel(); }

    // The parts so far, without the closing line.
    [[nodiscard]] const std::string& buffer() const { return buffer_; }
    // The finished body: the buffer plus the closing line. The buffer is left as it was.
    [[nodiscard]] std::string body() const&;
    // The same bytes, taking the buffer instead of copying it (the form is used up).
    [[nodiscard]] std::string body() &&;

    // "Tolmo-" and a random (version 4) UUID in upper case.
    static std::string nieuweGrens();

  private:
    void kopVanBestand(std::string_view naam, std::string_view bestandsnaam, std::string_view type);
    [[nodiscard]] std::string slotregel() const;

    std::string grens_;
    std::string buffer_;
};

}  // namespace tolmo
