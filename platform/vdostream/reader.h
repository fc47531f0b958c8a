#pragma once

#include "platform/vdostream/picture.h"

#include <atomic>
#include <memory>
#include <string>

namespace vdostream {

/** What a source is. */
struct SourceProperties {
    int width = 0;
    int height = 0;
    /** Frames a second; 0 when the source does not say. */
    double fps = 0.0;
};

/**
 * Reads one source from its beginning to its end. Not locked: one thread at a time. A Failure's sentence goes on after
 * the source's name: "cannot be opened (...)".
 * State: closed -> open (`open` succeeded) -> closed (the end, a Failure); `open` is allowed in either.
 */
class Reader {
  public:
    virtual ~Reader() = default;

    /** Opens, or begins again. Throws a Failure when that is not possible now. */
    virtual void open() = 0;
    /**
     * REQUIRES: open. The next picture with its `seconds`, counted from this opening's first picture; null at the end
     * of the video, which `open` begins again. Throws a Failure when the source is gone; `open` may bring it back.
     */
    virtual std::shared_ptr<Picture> read() = 0;
    /** Passes over what lies before `seconds` where that costs nothing; a video of encoded pictures has to be read. */
    virtual void skip_to(double /*seconds*/) {}
    /** Of the open source. */
    virtual SourceProperties properties() const = 0;
    /** Pictures come in their own time (a camera), or as fast as they are read (a file)? */
    virtual bool is_live() const { return false; }
    /** Any thread: makes a running or later `open` or `read` give up soon. */
    void cancel() { m_cancelled = true; }

  protected:
    bool cancelled() const { return m_cancelled; }

  private:
    std::atomic<bool> m_cancelled = false;
};

/** The reader of a source's name; see source_name. */
std::unique_ptr<Reader> make_reader(const std::string& name);

} // namespace vdostream
