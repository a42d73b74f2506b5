// SPDX-License-Identifier: Apache-2.0
// Makes the one page that `grhost view` fills: bundles viewer.js with three.js and puts style and script into
// page.html. The page needs nothing but itself.   node build.mjs OUT.html
import { build } from "esbuild";
import { readFileSync, renameSync, writeFileSync } from "node:fs";

const out = process.argv[2];
const bundle = await build({
  entryPoints: ["viewer.js"], bundle: true, minify: true, write: false, format: "iife", target: "es2020",
  charset: "ascii", legalComments: "inline",
});
const script = bundle.outputFiles[0].text.replaceAll("</script", "<\\/script");
const page = readFileSync("page.html", "utf8")
  .replace("/*style*/", () => readFileSync("style.css", "utf8"))
  .replace("/*script*/", () => script);
writeFileSync(out + ".part", page);
renameSync(out + ".part", out);
