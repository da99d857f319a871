// STDOutputStream: messages on the console, with live progress rows on a terminal.
//
// The stream writes to a C stream it does not own, standard output by default. Its state (the
// sources and the rows on screen) sits behind the stream's own mutex, so several pipes may share
// one console stream; their lines may interleave, never their bytes within a line. Writes that
// fail are not reported.
#pragma once

#include "Base/Export.h"
#include "Base/Logging/LogMessage.h"
#include "Base/Logging/LogStream.h"

#include <cstdio>

namespace QELTA {

// Each message is one line: line feed, carriage return and tab shown as backslash sequences,
// ANSI sequences removed, a text form of a translatable text ("{label}...") shown in the user's
// language, and a text of cut_size bytes or more shortened to its first 90 bytes, "..." and its
// last 95, so that one line does not scroll the progress rows away. Only records of the current
// session are shown.
//
// On a terminal, each live progress source has a row below the messages, redrawn in place: "["
// and 70 cells, "=" below the position progress * 70 (cells counted from 2), ">" at it, then
// "]", the whole percent and " % ", then the title; a finished source shows
// "[=============================[complete]===============================] 100% ". A removed
// source's row goes. Elsewhere (a file, a pipe) the stream prints the messages alone.
class QELTA_BASE_EXPORT STDOutputStream : public LogStream {
  public:
    static constexpr unsigned int cut_size = 180;
    static constexpr unsigned int cut_head = 90;
    static constexpr unsigned int cut_tail = 95;
    // A progress change at or below this size is not drawn.
    static constexpr float draw_threshold = 0.01f;

    // Standard output, with progress rows when it is a terminal.
    STDOutputStream();
    // `out`, with progress rows when `terminal` is set.
    STDOutputStream(std::FILE * out, bool terminal);
    ~STDOutputStream() override;

    void setProgress(unsigned int id, float progress) override;
    void addMessage(unsigned int index, LogMessage const & message) override;
    void removeProgressSource(unsigned int id) override;

  private:
    // The cursor goes back over the rows on screen, blanking each.
    void eraseRows();
    void drawRows();
    void write(StringView const & text);

    std::FILE * out_;
    bool terminal_;
    unsigned int rows_on_screen_ = 0;
};

} // namespace QELTA
