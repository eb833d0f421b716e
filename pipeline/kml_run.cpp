// The KML run of the batch pipeline: one placemark per line between the
// header and the last line end, into the document opened on the first line.
#include <optional>

#include "pipeline/batch_pipeline.h"
#include "pipeline/block_writer.h"
#include "pipeline/chunks.h"
#include "pipeline/held_log.h"
#include "pipeline/line_processors.h"
#include "pipeline/run_input.h"
#include "pipeline/runs.h"
#include "records/kml_document.h"

namespace brinora::pipeline {

BatchResult runKml(const BatchRequest& request, BatchReport& report) {
    BatchResult result;
    const bool everyLine = request.sampleLogLines == SampleLogLines::kEvery;

    // The input, read once.
    RunInput input;
    if (!openRunInput(request.input, input, result.readError)) {
        result.status = RunStatus::kReadError;
        return result;
    }
    BatchLineReader reader(input.fd, request.readBlock, true);
    HeldLog held([&report](std::string_view line) { report.logLine(line); });
    StreamLine headerLine;
    if (!reader.next(headerLine)) {
        result.status = RunStatus::kReadError;
        result.readError = batchInputError(request.input, reader);
        return result;
    }
    LineFeed feed(reader, ~std::size_t{0}, true);
    feed.countHeader();
    report.samplesBegin(input.sizeKnown);

    // The document is opened on the first line: a new one gets its header.
    ByteSink* sink = nullptr;
    std::optional<BlockWriter> writer;
    const auto openDocument = [&]() {
        const KmlDocument document = request.openDocument ? request.openDocument() : KmlDocument{};
        sink = document.sink;
        if (!document.headerError.empty()) {
            held.line("Error in saving file to disk");
            result.headerError = document.headerError;
        } else if (sink && document.writeHeader && !sink->write(kmlDocumentHeader())) {
            held.line("Error in saving file to disk");
            result.headerError = sink->errorMessage();
        }
        if (sink) writer.emplace(*sink);
    };

    const OptionState optionsOnBoard = optionState(request.options);
    const Board clearedBoard;
    const RunContext context{optionsOnBoard, request.startBoard ? *request.startBoard : clearedBoard,
                             everyLine ? &held : nullptr, request.compute};
    const PlacemarkLines processor(context, request.firstSampleNumber);

    // One placemark per line; the last piece is never a sample here.
    bool opened = false;
    bool writeFailed = false;
    KeptLine kept;
    const auto deliver = [&](Chunk& chunk) {
        if (!opened) {
            openDocument();
            opened = true;
        }
        const std::size_t processed = chunk.results.size();
        result.processedLines += processed;
        for (std::size_t k = 0; k < processed; ++k) {
            noteLine(report, chunk.results[k], chunk.sourceLines[k]);
            if (everyLine) held.line("Done with the line!");
        }
        // The placemarks lie one after the other: one write.
        if (processed > 0 && writer &&
            !writer->add(std::string_view(chunk.output).substr(0, chunk.results[processed - 1].outputEnd))) {
            // The placemarks stop here; the document lacks its footer.
            writeFailed = true;
            kept.keep(chunk, processed - 1);
            return false;
        }
        result.written += static_cast<int>(processed);
        if (input.sizeKnown && processed > 0) {
            report.progress(percentOf(chunk.endOffsets[processed - 1], input));
        }
        if (processed > 0) kept.keep(chunk, processed - 1);
        return true;
    };
    result.linesRun = true;
    runChunks(feed, processor, computingThreads(request, optionsOnBoard.constantsItem), linesPerChunk(request),
              deliver);
    if (kept.any) {
        result.haveLastLine = true;
        result.lastBytes = kept.takeBytes();
    }
    result.anyComputed = result.processedLines > 0;

    // Close the document.
    if (writer && !writeFailed) writeFailed = !writer->add(kmlDocumentFooter()) || !writer->flush();
    if (!writeFailed) feed.drain();
    if (reader.failed() && !writeFailed) {
        held.discard();
        result.status = RunStatus::kReadError;
        result.readError = batchInputError(request.input, reader);
        return result;
    }
    result.lines = feed.pieces();
    held.release("The file is " + std::to_string(feed.pieces()) + " lines long");
    if (feed.droppedText()) {
        report.note(RunNote{feed.droppedLine(),
                            "the last line has no line end and is not part of the document (a KML document "
                            "holds only lines that end with a line end)"});
    }
    if (writeFailed) {
        // Nothing of the run counts.
        result.status = RunStatus::kWriteFailed;
        result.writeError = sink->errorMessage();
        result.written = 0;
    }
    return result;
}

}  // namespace brinora::pipeline
