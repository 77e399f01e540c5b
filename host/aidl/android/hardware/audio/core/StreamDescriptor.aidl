package android.hardware.audio.core;

import android.hardware.audio.core.MmapBufferDescriptor;
import android.hardware.common.fmq.MQDescriptor;
import android.hardware.common.fmq.SynchronizedReadWrite;
import android.media.audio.common.Void;

/**
 * Everything a client needs to drive an opened stream: the command and reply queues, the frame
 * and buffer sizes, and the data channel (a byte queue or an MMAP buffer).
 */
@VintfStability
parcelable StreamDescriptor {
    /** A (frame count, monotonic time) pair; UNKNOWN when not available. */
    @FixedSize
    @VintfStability
    parcelable Position {
        const long UNKNOWN = -1;

        long frames = UNKNOWN;
        long timeNs = UNKNOWN;
    }

    /** States of the stream state machine as reported in replies. */
    @Backing(type="int")
    @VintfStability
    enum State {
        STANDBY = 1,
        IDLE = 2,
        ACTIVE = 3,
        PAUSED = 4,
        DRAINING = 5,
        DRAIN_PAUSED = 6,
        TRANSFERRING = 7,
        TRANSFER_PAUSED = 8,
        ERROR = 100,
    }

    /** Argument of the drain command. */
    @Backing(type="byte")
    @VintfStability
    enum DrainMode {
        DRAIN_UNSPECIFIED = 0,
        DRAIN_ALL = 1,
        DRAIN_EARLY_NOTIFY = 2,
    }

    /** One command taken from the command queue; Void alternatives carry no argument. */
    @FixedSize
    @VintfStability
    union Command {
        /** For the module's own use only; never sent by clients. */
        int halReservedExit;
        Void getStatus;
        Void start;
        /** Bytes to transfer (0 for MMAP streams). */
        int burst;
        DrainMode drain;
        Void standby;
        Void pause;
        Void flush;
        /**
         * Upper 4 bits: a FlushFromFrameAccuracy value; lower FLUSH_FROM_FRAME_POSITION_BITS
         * bits: the position as an offset from the last observable position.
         */
        int flushFromFrame;
    }

    /** The reply to the last command, posted into the reply queue. */
    @FixedSize
    @VintfStability
    parcelable Reply {
        /** A binder status_t value. */
        int status;
        /** Meaningful for burst only. */
        int fmqByteCount;
        Position observable;
        /** MMAP streams only. */
        Position hardware;
        /** LATENCY_UNKNOWN when unknown. */
        int latencyMs;
        int xrunFrames;
        State state = State.STANDBY;
        /** Meaningful for flushFromFrame only: an offset from observable, lower 28 bits. */
        int flushFromPosition;
    }

    /** The data channel: a byte queue for normal streams, an MMAP buffer for MMAP streams. */
    @VintfStability
    union AudioBuffer {
        MQDescriptor<byte, SynchronizedReadWrite> fmq;
        /** Ignored by clients since MMAP buffers have their own call, but must hold a valid fd. */
        MmapBufferDescriptor mmap;
    }

    const int FLUSH_FROM_FRAME_POSITION_BITS = 28;
    const int LATENCY_UNKNOWN = -1;

    /** Written by the client, read by the module. */
    MQDescriptor<Command, SynchronizedReadWrite> command;
    /** Written by the module, read by the client. */
    MQDescriptor<Reply, SynchronizedReadWrite> reply;
    int frameSizeBytes;
    /** May be larger than requested, for alignment. */
    long bufferSizeFrames;
    AudioBuffer audio;
}
