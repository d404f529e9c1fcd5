#!/usr/bin/env node
// The JavaScript side of the M3U parse benchmark: iptv-playlist-parser on the same file, measured
// the way quenvo-bench-m3u measures M3UParser.
//   node --expose-gc parse.js [--runs 7] [--line] playlist.m3u
//
// The file is read once; UTF-8 decoding to a string is timed on its own. The first parse gives the
// peak memory (resident growth during that parse, from the kernel's high-water mark, reset just
// before it); the timed parses follow, each after a full garbage collection when --expose-gc is on.
// MB are 10^6 bytes of the file as stored (UTF-8).
'use strict'

const fs = require('fs')
const { performance } = require('perf_hooks')
const parser = require('iptv-playlist-parser')
const { startPeakMemory, median, timed, collectGarbage } = require('./measure')

function usage() {
  process.stderr.write('usage: node --expose-gc parse.js [--runs N] [--line] <playlist>\n')
  process.exit(2)
}

function options(argv) {
  const result = { runs: 7, line: false, file: undefined }
  for (let i = 0; i < argv.length; ++i) {
    const argument = argv[i]
    if (argument === '--line') result.line = true
    else if (argument === '--runs') result.runs = Number(argv[++i])
    else if (argument.startsWith('--runs=')) result.runs = Number(argument.slice('--runs='.length))
    else if (result.file === undefined) result.file = argument
    else usage()
  }
  if (result.file === undefined || !Number.isInteger(result.runs) || result.runs < 1) usage()
  return result
}



// Lines that start an entry, counted as quenvo-bench-m3u counts them: "#EXTINF:" once leading
// blanks are trimmed.
function countEntries(bytes) {
  const marker = Buffer.from('#EXTINF:')
  let count = 0
  let position = 0
  while (position < bytes.length) {
    let lineEnd = bytes.indexOf(0x0a, position)
    if (lineEnd < 0) lineEnd = bytes.length
    let start = position
    while (start < lineEnd && (bytes[start] === 0x20 || bytes[start] === 0x09)) ++start
    if (lineEnd - start >= marker.length && bytes.compare(marker, 0, marker.length, start, start + marker.length) === 0)
      ++count
    position = lineEnd + 1
  }
  return count
}




const { runs, line, file } = options(process.argv.slice(2))
const bytes = fs.readFileSync(file)
const entries = countEntries(bytes)

const decoding = []
const firstParse = []
const parsing = []
const parsingCpu = []

let text = timed(decoding, () => bytes.toString('utf8'))
collectGarbage()

// First parse: the memory measurement.
const memory = startPeakMemory()
let playlist = timed(firstParse, () => parser.parse(text))
const peakGrowth = memory.growth()
const items = playlist.items.length
playlist = undefined

for (let run = 1; run < runs; ++run) text = timed(decoding, () => bytes.toString('utf8'))
for (let run = 0; run < runs; ++run) {
  collectGarbage()
  const result = timed(parsing, () => parser.parse(text), parsingCpu)
  if (result.items.length !== items) {
    process.stderr.write('parse.js: the parse is not repeatable\n')
    process.exit(1)
  }
}

const megabytes = bytes.length / 1e6
const medianSeconds = median(parsing) / 1e3
const figures = {
  bytes: bytes.length,
  entries,
  channels: items,
  runs,
  decode_median_ms: median(decoding),
  decode_best_ms: Math.min(...decoding),
  parse_first_ms: firstParse[0],
  parse_median_ms: median(parsing),
  parse_best_ms: Math.min(...parsing),
  parse_cpu_median_ms: median(parsingCpu),
  mb_per_s: megabytes / medianSeconds,
  entries_per_s: entries / medianSeconds,
  peak_parse_bytes: peakGrowth,
  peak_ratio: peakGrowth < 0 ? -1 : peakGrowth / bytes.length,
  peak_method: memory.method,
}

if (line) {
  const fixed = (key, value) =>
    typeof value === 'string' ? value : Number.isInteger(value) || key === 'entries_per_s' ? Math.round(value) : value.toFixed(2)
  process.stdout.write(Object.entries(figures).map(([key, value]) => `${key}=${fixed(key, value)}`).join(' ') + '\n')
} else {
  process.stdout.write(
    JSON.stringify({
      parser: `iptv-playlist-parser ${require('iptv-playlist-parser/package.json').version}`,
      node: process.version,
      file,
      gc_between_runs: typeof global.gc === 'function',
      ...figures,
    }) + '\n'
  )
}
