// Measurement helpers shared by the node benchmarks: resident-memory growth, medians, wall and CPU
// time of one piece of work.
'use strict'

const fs = require('fs')
const { performance } = require('perf_hooks')

// A "Name:   1234 kB" field of /proc/self/status, in bytes; -1 when unreadable.
function statusField(name) {
  try {
    const match = fs.readFileSync('/proc/self/status', 'latin1').match(new RegExp(`^${name}:\\s+(\\d+) kB$`, 'm'))
    return match ? Number(match[1]) * 1024 : -1
  } catch {
    return -1
  }
}

// Starts measuring the resident growth of the work that follows: resets the high-water mark VmHWM
// to the current resident size, or, where that is refused, falls back on the process's lifetime peak
// (resourceUsage().maxRSS), which gives the same figure as long as the work's peak is the highest
// the process has reached. `growth()` is in bytes, -1 when unknown.
function startPeakMemory() {
  let reset = true
  try {
    fs.writeFileSync('/proc/self/clear_refs', '5')
  } catch {
    reset = false
  }
  const resident = statusField('VmRSS') > 0 ? statusField('VmRSS') : process.memoryUsage().rss
  const mark = statusField('VmHWM')
  if (reset && mark >= 0 && mark - resident < 1024 * 1024)
    return { method: 'reset-high-water-mark', growth: () => Math.max(0, statusField('VmHWM') - resident) }
  return { method: 'lifetime-peak', growth: () => Math.max(0, process.resourceUsage().maxRSS * 1024 - resident) }
}

function median(samples) {
  const sorted = [...samples].sort((a, b) => a - b)
  const middle = Math.floor(sorted.length / 2)
  return sorted.length % 2 === 1 ? sorted[middle] : (sorted[middle - 1] + sorted[middle]) / 2
}

// Wall time in `samples`, and the process's CPU time (every thread: the main one, the garbage
// collector's and the compiler's) in `cpuSamples`, both in milliseconds.
function timed(samples, work, cpuSamples) {
  const cpuStart = process.cpuUsage()
  const start = performance.now()
  const result = work()
  samples.push(performance.now() - start)
  if (cpuSamples) {
    const cpu = process.cpuUsage(cpuStart)
    cpuSamples.push((cpu.user + cpu.system) / 1e3)
  }
  return result
}

function collectGarbage() {
  if (typeof global.gc === 'function') global.gc()
}

module.exports = { statusField, startPeakMemory, median, timed, collectGarbage }
