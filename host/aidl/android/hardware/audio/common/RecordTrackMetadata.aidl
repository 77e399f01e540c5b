package android.hardware.audio.common;

import android.media.audio.common.AudioChannelLayout;
import android.media.audio.common.AudioDevice;
import android.media.audio.common.AudioSource;

/** Metadata of one capture track reading from an input stream. */
@VintfStability
parcelable RecordTrackMetadata {
    AudioSource source = AudioSource.SYS_RESERVED_INVALID;
    /** Non-negative linear factor (0 = muted, 1 = unity). */
    float gain;
    @nullable AudioDevice destinationDevice;
    AudioChannelLayout channelMask;
    @utf8InCpp String[] tags;
}
