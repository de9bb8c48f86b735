// Both relay routes through npm's openai package: node klant.mjs BASISURL CODE WAVBESTAND
import fs from "node:fs";
import OpenAI from "openai";

const [basisURL, code, bestand] = process.argv.slice(2);
const klant = (sleutel) =>
  new OpenAI({ baseURL: basisURL, apiKey: sleutel, maxRetries: 0,
               defaultHeaders: { "X-Tolmo-Aanbieder": "openai" } });

const tekst = await klant(code).audio.transcriptions.create({
  file: fs.createReadStream(bestand), model: "whisper-1" });
console.log(tekst.text);

const chat = await klant(code).chat.completions.create({
  model: "gpt-4o-mini", messages: [{ role: "user", content: "Hallo" }] });
console.log(chat.choices[0].message.content);

try {
  await klant("tolmo_onbekend").chat.completions.create({ model: "gpt-4o-mini", messages: [] });
} catch (e) {
  console.log(`${e.status}`);
}
