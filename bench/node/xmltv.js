#!/usr/bin/env node
// The JavaScript side of the guide benchmark: an XMLTV file through one of the npm parsers that IPTV
// players use, measured the way quenvo-bench-guide measures XmltvParser.
//   node --expose-gc xmltv.js --parser iptv-xmltv|epg-parser [--runs 7] guide.xml
// Prints one line of key=value figures.
//
// The file is read once; UTF-8 decoding to a string is timed on its own. The first parse gives the
// peak memory (resident growth during that parse, from the kernel's high-water mark reset just
// before it); the timed parses follow, each after a full garbage collection when --expose-gc is on.
'use strict'

const fs = require('fs')
const path = require('path')
const { startPeakMemory, median, timed, collectGarbage } = require('./measure')

// Read from the installed package: @iptv/xmltv does not export its package.json.
function versionOf(name) {
  return JSON.parse(fs.readFileSync(path.join(__dirname, 'node_modules', name, 'package.json'), 'utf8')).version
}

const parsers = {
  // @iptv/xmltv: { channels, programmes }
  'iptv-xmltv': {
    version: () => versionOf('@iptv/xmltv'),
    parse: (text) => require('@iptv/xmltv').parseXmltv(text),
    count: (result) => ({ programmes: (result.programmes || []).length, channels: (result.channels || []).length }),
  },
  // epg-parser: { channels, programs }
  'epg-parser': {
    version: () => versionOf('epg-parser'),
    parse: (text) => require('epg-parser').parse(text),
    count: (result) => ({ programmes: (result.programs || []).length, channels: (result.channels || []).length }),
  },
}

function usage() {
  process.stderr.write('usage: node --expose-gc xmltv.js --parser iptv-xmltv|epg-parser [--runs N] <guide.xml>\n')
  process.exit(2)
}

function options(argv) {
  const result = { runs: 7, parser: undefined, file: undefined }
  for (let i = 0; i < argv.length; ++i) {
    const argument = argv[i]
    if (argument === '--runs') result.runs = Number(argv[++i])
    else if (argument === '--parser') result.parser = argv[++i]
    else if (result.file === undefined) result.file = argument
    else usage()
  }
  if (result.file === undefined || !parsers[result.parser] || !Number.isInteger(result.runs) || result.runs < 1) usage()
  return result
}

const { runs, parser: name, file } = options(process.argv.slice(2))
const parser = parsers[name]
const bytes = fs.readFileSync(file)

const decoding = []
const firstParse = []
const parsing = []
const parsingCpu = []

let text = timed(decoding, () => bytes.toString('utf8'))
// Load the module before measuring, so that its own code is not counted as the parse's memory.
parser.parse('<?xml version="1.0"?><tv></tv>')
collectGarbage()

// A parser that refuses the file says so on the line, as error=<its message>.
function refused(error) {
  const message = String((error && error.message) || error).split('\n')[0].replace(/\s+/g, '_')
  process.stdout.write(`parser=${name}@${parser.version()} bytes=${bytes.length} error=${message}\n`)
  process.exit(0)
}

const memory = startPeakMemory()
let result
try {
  result = timed(firstParse, () => parser.parse(text))
} catch (error) {
  refused(error)
}
const peakGrowth = memory.growth()
const counted = parser.count(result)
result = undefined

for (let run = 0; run < runs; ++run) {
  collectGarbage()
  const again = timed(parsing, () => parser.parse(text), parsingCpu)
  if (parser.count(again).programmes !== counted.programmes) {
    process.stderr.write('xmltv.js: the parse is not repeatable\n')
    process.exit(1)
  }
}

const figures = {
  parser: `${name}@${parser.version()}`,
  bytes: bytes.length,
  programmes: counted.programmes,
  channels: counted.channels,
  runs,
  decode_median_ms: median(decoding),
  parse_first_ms: firstParse[0],
  parse_median_ms: median(parsing),
  parse_best_ms: Math.min(...parsing),
  parse_cpu_median_ms: median(parsingCpu),
  mb_per_s: bytes.length / 1e6 / (median(parsing) / 1e3),
  peak_parse_bytes: peakGrowth,
  peak_ratio: peakGrowth < 0 ? -1 : peakGrowth / bytes.length,
  peak_method: memory.method,
}
const fixed = (value) => (typeof value === 'string' ? value : Number.isInteger(value) ? String(value) : value.toFixed(2))
process.stdout.write(Object.entries(figures).map(([key, value]) => `${key}=${fixed(value)}`).join(' ') + '\n')
