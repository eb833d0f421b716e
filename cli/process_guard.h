// What the brinora program sets up before anything else: standard streams
// that are never an output file, and signals that stop a run cleanly.
#pragma once

namespace brinora::cli {

// Opens /dev/null on each of the descriptors 0, 1 and 2 that is closed, so
// that no file the program opens takes their place (and no message or
// record lands in it). Remembers which were closed.
void openClosedStandardStreams();

// Whether standard input was closed when the program started.
bool standardInputWasClosed();

// SIGINT, SIGTERM and SIGHUP are taken by a thread of their own: the output
// files being written are put back as they were (an append is rolled back,
// a temporary file removed), one line says what was kept, and the program
// exits with 128 + the signal. SIGXFSZ is ignored, so that a file larger
// than the limit is a write error ("File too large") with its rollback.
// Call before any other thread starts.
void watchStopSignals();

}  // namespace brinora::cli
