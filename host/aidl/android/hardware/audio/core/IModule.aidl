package android.hardware.audio.core;

import android.hardware.audio.common.SinkMetadata;
import android.hardware.audio.common.SourceMetadata;
import android.media.audio.common.AudioOffloadInfo;

/**
 * An audio module. On the host it is a binder handle that scopes the arguments and results of its
 * calls.
 */
@VintfStability
interface IModule {
    const int DEFAULT_AAUDIO_MIXER_BURST_COUNT = 2;
    const int DEFAULT_AAUDIO_HARDWARE_BURST_MIN_DURATION_US = 1000;

    /** Input of IModule.openInputStream. */
    @VintfStability
    parcelable OpenInputStreamArguments {
        int portConfigId;
        SinkMetadata sinkMetadata;
        long bufferSizeFrames;
    }

    /** Result of IModule.openInputStream. */
    @VintfStability
    parcelable OpenInputStreamReturn {
        IStreamIn stream;
        StreamDescriptor desc;
    }

    /** Input of IModule.openOutputStream. */
    @VintfStability
    parcelable OpenOutputStreamArguments {
        int portConfigId;
        SourceMetadata sourceMetadata;
        /** Set for compressed offload outputs only. */
        @nullable AudioOffloadInfo offloadInfo;
        long bufferSizeFrames;
        @nullable IStreamCallback callback;
        @nullable IStreamOutEventCallback eventCallback;
    }

    /** Result of IModule.openOutputStream. */
    @VintfStability
    parcelable OpenOutputStreamReturn {
        IStreamOut stream;
        StreamDescriptor desc;
    }

    /** Ranges of playback speed and pitch factors that a module supports. */
    @VintfStability
    parcelable SupportedPlaybackRateFactors {
        float minSpeed;
        float maxSpeed;
        float minPitch;
        float maxPitch;
    }

    /** Screen rotation reported to a module. */
    @Backing(type="int")
    @VintfStability
    enum ScreenRotation {
        DEG_0 = 0,
        DEG_90 = 1,
        DEG_180 = 2,
        DEG_270 = 3,
    }
}
