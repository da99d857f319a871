// STDOutputStream: the console lines and the progress rows drawn below them.
#include "Base/Logging/STDOutputStream.h"

#include "Base/Language/TranslatedString.h"
#include "Base/Logging/Platform/ConsolePlatform.h"
#include "Base/Text/String.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"

#include <cmath>
#include <mutex>

namespace QELTA {
namespace {

using Lock = std::lock_guard<std::recursive_mutex>;

// Up one line, then a carriage return, 79 blanks and a carriage return.
constexpr char row_up[] = "\x1b[A";
constexpr char row_blank[] = "\r                                                                               \r";
static_assert(sizeof(row_blank) == 1 + 79 + 1 + 1, "a carriage return, 79 blanks, a carriage return");
constexpr char cut_mark[] = "...";
constexpr int bar_cells = 70;
constexpr int first_cell = 2;
constexpr char complete_row[] = "\r[=============================[complete]===============================] 100% ";
constexpr char percent_mark[] = " % ";

// The cell of the '>': progress * 70 cut to a whole number; NaN counts as nothing done.
int BarPosition(float progress) noexcept {
    return std::isnan(progress) || progress <= 0.0f ? 0 : static_cast<int>(progress * bar_cells);
}

} // namespace

STDOutputStream::STDOutputStream() : STDOutputStream(stdout, ConsolePlatform::IsTerminal(stdout)) {}

STDOutputStream::STDOutputStream(std::FILE * out, bool terminal) : out_(out), terminal_(terminal) {}

STDOutputStream::~STDOutputStream() = default;

void STDOutputStream::write(StringView const & text) {
    if (!text.isEmpty()) {
        std::fwrite(text.data(), 1, text.size(), out_);
    }
}

void STDOutputStream::eraseRows() {
    for (; rows_on_screen_ > 0; --rows_on_screen_) {
        write(StringView(row_up));
        write(StringView(row_blank));
    }
}

void STDOutputStream::drawRows() {
    if (!terminal_) {
        return;
    }
    Buffer<ProgressSource> const sources = progressSources();
    StringAllocatingView row;
    for (ProgressSource const & source : sources) {
        row.clear();
        if (source.progress >= 1.0f) {
            row.append(StringView(complete_row));
        } else {
            int const position = BarPosition(source.progress);
            row.append(StringView("\r["));
            for (int cell = first_cell; cell < first_cell + bar_cells; ++cell) {
                row.append(cell < position ? '=' : cell == position ? '>' : ' ');
            }
            row.append(']');
            StringStream<int>::toString(static_cast<int>(std::isnan(source.progress) ? 0.0f : source.progress * 100),
                                        row);
            row.append(StringView(percent_mark));
        }
        TranslatedString title = source.title;
        row.append(title.translation());
        row.append('\n');
        write(row.view());
        ++rows_on_screen_;
    }
}

void STDOutputStream::setProgress(unsigned int id, float progress) {
    Lock const lock(stream_mutex_);
    auto const found = sources_.find(id);
    if (found == sources_.end() || !(std::fabs(progress - found->value().progress) > draw_threshold)) {
        return;
    }
    found->value().progress = progress;
    if (terminal_) {
        eraseRows();
        drawRows();
        std::fflush(out_);
    }
}

void STDOutputStream::removeProgressSource(unsigned int id) {
    Lock const lock(stream_mutex_);
    if (!sources_.contains(id)) {
        return;
    }
    eraseRows();
    LogStream::removeProgressSource(id);
    drawRows();
    std::fflush(out_);
}

void STDOutputStream::addMessage(unsigned int, LogMessage const & message) {
    if (isMuted() || !message.isFromCurrentSession()) {
        return;
    }
    StringAllocatingView text = message.message(false, false, false);
    String shown;
    if (!text.isEmpty() && text.data()[0] == '{') {
        TranslatedString translatable(text.view());
        shown = String(translatable.translation());
    } else {
        shown = String(text.view());
    }
    Lock const lock(stream_mutex_);
    eraseRows();
    StringView const line = shown.view();
    if (line.size() >= cut_size) {
        write(line.substr(0, cut_head));
        write(StringView(cut_mark));
        write(line.substr(line.size() - cut_tail));
    } else {
        write(line);
    }
    write(StringView("\n"));
    drawRows();
    std::fflush(out_);
}

} // namespace QELTA
