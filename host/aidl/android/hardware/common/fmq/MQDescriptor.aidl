package android.hardware.common.fmq;

import android.hardware.common.NativeHandle;
import android.hardware.common.fmq.GrantorDescriptor;

/**
 * A fast message queue. T is the element type; Flavor (SynchronizedReadWrite or
 * UnsynchronizedWrite) is a tag type that is never instantiated.
 */
@VintfStability
parcelable MQDescriptor<T, Flavor> {
    GrantorDescriptor[] grantors;
    NativeHandle handle;
    int quantum;
    int flags;
}
