// SPDX-License-Identifier: Apache-2.0
// Native methods of HwParcel, and functions of Native for it. Texts are UTF-8 without a NUL at the end.
#include <hidl/HidlBinderSupport.h>
#include <string.h>

#include <algorithm>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "java_binder.h"
#include "java_parcel.h"
#include "java_vm.h"
#include "native_methods.h"

namespace hidlaudio::java {
namespace {

using android::sp;
using android::status_t;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::IBinder;
using android::hardware::Parcel;
using android::hardware::readEmbeddedFromParcel;
using android::hardware::Status;
using android::hardware::writeEmbeddedToParcel;
using android::hardware::details::kIsPlainData;

JavaParcel& parcelOf(jlong handle) {
    return *pointerOf<JavaParcel>(handle);
}

// For methods that are called without the handle. Returns null with an exception pending if it is released.
JavaParcel* parcelOf(JNIEnv* env, jobject parcel) {
    const jlong handle = env->GetLongField(parcel, gJava.handleOfParcel);
    if (handle == 0) env->CallLongMethod(parcel, gJava.throwReleased);
    return pointerOf<JavaParcel>(handle);
}

// A parcel that has grown too large fails when it is sent, as on the platform.
void throwIfNotWritten(JNIEnv* env, status_t status) {
    if (status != android::FAILED_TRANSACTION) throwIfFailed(env, status);
}

jlong create(JNIEnv*, jclass) {
    return handleOf(new JavaParcel());
}

void destroy(JNIEnv*, jclass, jlong handle) {
    delete pointerOf<JavaParcel>(handle);
}

void writeInterfaceToken(JNIEnv* env, jobject, jlong handle, jbyteArray name) {
    throwIfNotWritten(env, parcelOf(handle)->writeInterfaceToken(textOf(env, name).c_str()));
}

jboolean readInterfaceToken(JNIEnv* env, jobject, jlong handle, jbyteArray name) {
    return parcelOf(handle)->enforceInterface(textOf(env, name).c_str()) ? JNI_TRUE : JNI_FALSE;
}

// Numbers. JavaType is the JNI type of the HIDL type T.
template <typename JavaType, typename T, status_t (Parcel::*write)(T)>
void writeNumber(JNIEnv* env, jobject self, JavaType value) {
    JavaParcel* parcel = parcelOf(env, self);
    if (parcel != nullptr) throwIfNotWritten(env, ((**parcel).*write)(static_cast<T>(value)));
}

template <typename JavaType, typename T, status_t (Parcel::*read)(T*) const>
JavaType readNumber(JNIEnv* env, jobject self) {
    T value{};
    JavaParcel* parcel = parcelOf(env, self);
    if (parcel != nullptr) throwIfFailed(env, ((**parcel).*read)(&value));
    return static_cast<JavaType>(value);
}

// Vectors of numbers, which are arrays in Java: the element in C++ and Java, and how to create and copy an
// array.
template <typename T, typename JavaType, typename JavaArray, JavaArray (JNIEnv::*create)(jsize),
          void (JNIEnv::*get)(JavaArray, jsize, jsize, JavaType*),
          void (JNIEnv::*set)(JavaArray, jsize, jsize, const JavaType*)>
struct Vectors {
    static_assert(sizeof(T) == sizeof(JavaType), "arrays are copied bytewise");

    static void write(JNIEnv* env, jobject self, JavaArray array) {
        JavaParcel* parcel = parcelOf(env, self);
        if (parcel == nullptr) return;
        hidl_vec<T> vec;  // without elements: only its size is sent
        vec.setToExternal(nullptr, static_cast<size_t>(env->GetArrayLength(array)));
        size_t parent = 0;
        status_t status = (*parcel)->writeBuffer(&vec, sizeof(vec), &parent);
        if (status == android::OK)
            status = writeElements(env, *parcel, array, vec.size() * sizeof(T), parent);
        throwIfNotWritten(env, status);
    }

    // A large array is copied when the parcel is sent, directly to the memory shared with the receiver.
    static status_t writeElements(JNIEnv* env, JavaParcel& parcel, JavaArray array, size_t size,
                                  size_t parent) {
        constexpr size_t kOffset = hidl_vec<T>::kOffsetOfBuffer;
        size_t child = 0;
        if constexpr (kIsPlainData<T>) {
            jobject kept = parcel.keep(env, array);
            return kept == nullptr ? android::OK  // an exception is pending
                                   : parcel->writeEmbeddedBuffer(kept, size, &child, parent, kOffset, copyTo);
        } else {
            const auto bytes = std::make_unique<uint8_t[]>(size);
            copyTo(array, bytes.get(), size);
            return parcel->writeEmbeddedBuffer(bytes.get(), size, &child, parent, kOffset);
        }
    }

    static void copyTo(const void* array, uint8_t* target, size_t size) {
        JNIEnv* env = environment();
        if (env == nullptr) {  // the virtual machine has ended
            memset(target, 0, size);
            return;
        }
        void* elements = target;
        (env->*get)(static_cast<JavaArray>(const_cast<void*>(array)), 0, static_cast<jsize>(size / sizeof(T)),
                    static_cast<JavaType*>(elements));
    }

    static JavaArray read(JNIEnv* env, jobject self) {
        JavaParcel* received = parcelOf(env, self);
        if (received == nullptr) return nullptr;
        Parcel& parcel = **received;
        const hidl_vec<T>* vec = nullptr;
        size_t parent = 0;
        size_t child = 0;
        status_t status = parcel.readBuffer(sizeof(*vec), &parent, reinterpret_cast<const void**>(&vec));
        if (status == android::OK) status = readEmbeddedFromParcel(*vec, parcel, parent, 0, &child);
        if (status != android::OK) {
            throwIfFailed(env, status);
            return nullptr;
        }
        JavaArray array = (env->*create)(static_cast<jsize>(vec->size()));
        if (array != nullptr) fill(env, array, *vec);
        return array;
    }

    static void fill(JNIEnv* env, JavaArray array, const hidl_vec<T>& vec) {
        const void* received = vec.data();
        const auto* elements = static_cast<const JavaType*>(received);
        std::vector<JavaType> flags;
        if constexpr (std::is_same_v<T, bool>) {  // a sender may write other numbers than 0 and 1
            for (size_t i = 0; i < vec.size(); ++i) flags.push_back(elements[i] != 0 ? JNI_TRUE : JNI_FALSE);
            elements = flags.data();
        }
        (env->*set)(array, 0, static_cast<jsize>(vec.size()), elements);
    }
};

using Bools = Vectors<bool, jboolean, jbooleanArray, &JNIEnv::NewBooleanArray, &JNIEnv::GetBooleanArrayRegion,
                      &JNIEnv::SetBooleanArrayRegion>;
using Int8s = Vectors<int8_t, jbyte, jbyteArray, &JNIEnv::NewByteArray, &JNIEnv::GetByteArrayRegion,
                      &JNIEnv::SetByteArrayRegion>;
using Int16s = Vectors<int16_t, jshort, jshortArray, &JNIEnv::NewShortArray, &JNIEnv::GetShortArrayRegion,
                       &JNIEnv::SetShortArrayRegion>;
using Int32s = Vectors<int32_t, jint, jintArray, &JNIEnv::NewIntArray, &JNIEnv::GetIntArrayRegion,
                       &JNIEnv::SetIntArrayRegion>;
using Int64s = Vectors<int64_t, jlong, jlongArray, &JNIEnv::NewLongArray, &JNIEnv::GetLongArrayRegion,
                       &JNIEnv::SetLongArrayRegion>;
using Floats = Vectors<float, jfloat, jfloatArray, &JNIEnv::NewFloatArray, &JNIEnv::GetFloatArrayRegion,
                       &JNIEnv::SetFloatArrayRegion>;
using Doubles = Vectors<double, jdouble, jdoubleArray, &JNIEnv::NewDoubleArray, &JNIEnv::GetDoubleArrayRegion,
                        &JNIEnv::SetDoubleArrayRegion>;

void writeString(JNIEnv* env, jobject, jlong handle, jbyteArray text) {
    Parcel& parcel = *parcelOf(handle);
    const std::string bytes = textOf(env, text);
    hidl_string string;
    string.setToExternal(bytes.c_str(), bytes.size());
    size_t parent = 0;
    status_t status = parcel.writeBuffer(&string, sizeof(string), &parent);
    if (status == android::OK) status = writeEmbeddedToParcel(string, &parcel, parent, 0);
    throwIfNotWritten(env, status);
}

jbyteArray readString(JNIEnv* env, jobject, jlong handle) {
    Parcel& parcel = *parcelOf(handle);
    const hidl_string* string = nullptr;
    size_t parent = 0;
    status_t status = parcel.readBuffer(sizeof(*string), &parent, reinterpret_cast<const void**>(&string));
    if (status == android::OK) status = readEmbeddedFromParcel(*string, parcel, parent, 0);
    if (status == android::OK) return bytesOf(env, string->c_str(), string->size());
    throwIfFailed(env, status);
    return nullptr;
}

std::vector<std::string> textsOf(JNIEnv* env, jobjectArray array) {
    std::vector<std::string> texts;
    const jsize count = env->GetArrayLength(array);
    for (jsize i = 0; i < count; ++i) {
        auto* text = static_cast<jbyteArray>(env->GetObjectArrayElement(array, i));
        texts.push_back(textOf(env, text));
        env->DeleteLocalRef(text);
    }
    return texts;
}

void writeStringVector(JNIEnv* env, jobject, jlong handle, jobjectArray array) {
    Parcel& parcel = *parcelOf(handle);
    const std::vector<std::string> texts = textsOf(env, array);
    std::vector<hidl_string> strings(texts.size());
    for (size_t i = 0; i < texts.size(); ++i) strings[i].setToExternal(texts[i].c_str(), texts[i].size());
    hidl_vec<hidl_string> vec;
    vec.setToExternal(strings.data(), strings.size());
    size_t parent = 0;
    size_t child = 0;
    status_t status = parcel.writeBuffer(&vec, sizeof(vec), &parent);
    if (status == android::OK) status = writeEmbeddedToParcel(vec, &parcel, parent, 0, &child);
    for (size_t i = 0; status == android::OK && i < strings.size(); ++i)
        status = writeEmbeddedToParcel(strings[i], &parcel, child, i * sizeof(hidl_string));
    throwIfNotWritten(env, status);
}

// Returns an array of byte[]. Returns null with an exception pending if there is no memory.
jobjectArray javaTexts(JNIEnv* env, const hidl_vec<hidl_string>& strings) {
    const auto count = static_cast<jsize>(strings.size());
    jobjectArray array = env->NewObjectArray(count, gJava.byteArray, nullptr);
    for (jsize i = 0; array != nullptr && i < count; ++i) {
        const hidl_string& string = strings[static_cast<size_t>(i)];
        jbyteArray text = bytesOf(env, string.c_str(), string.size());
        if (text == nullptr) return nullptr;
        env->SetObjectArrayElement(array, i, text);
        env->DeleteLocalRef(text);
    }
    return array;
}

jobjectArray readStringVector(JNIEnv* env, jobject, jlong handle) {
    Parcel& parcel = *parcelOf(handle);
    const hidl_vec<hidl_string>* vec = nullptr;
    size_t parent = 0;
    size_t child = 0;
    status_t status = parcel.readBuffer(sizeof(*vec), &parent, reinterpret_cast<const void**>(&vec));
    if (status == android::OK) status = readEmbeddedFromParcel(*vec, parcel, parent, 0, &child);
    for (size_t i = 0; status == android::OK && i < vec->size(); ++i)
        status = readEmbeddedFromParcel((*vec)[i], parcel, child, i * sizeof(hidl_string));
    if (status == android::OK) return javaTexts(env, *vec);
    throwIfFailed(env, status);
    return nullptr;
}

void writeNoBinder(JNIEnv* env, jobject, jlong handle) {
    throwIfNotWritten(env, parcelOf(handle)->writeStrongBinder(nullptr));
}

void writeLocalBinder(JNIEnv* env, jobject, jlong handle, jlong holder, jobject object) {
    const sp<IBinder> binder = pointerOf<BinderHolder>(holder)->get(env, object);
    throwIfNotWritten(env, parcelOf(handle)->writeStrongBinder(binder));
}

void writeRemoteBinder(JNIEnv* env, jobject, jlong handle, jlong binder) {
    throwIfNotWritten(env, parcelOf(handle)->writeStrongBinder(pointerOf<IBinder>(binder)));
}

jobject readStrongBinder(JNIEnv* env, jobject self) {
    JavaParcel* parcel = parcelOf(env, self);
    if (parcel == nullptr) return nullptr;
    sp<IBinder> binder;
    const status_t status = (*parcel)->readNullableStrongBinder(&binder);
    if (status == android::OK) return javaFormOf(env, binder);
    throwIfFailed(env, status);
    return nullptr;
}

// A handle is packed in an int array: the number of descriptors, the descriptors, the integers.
void writeNativeHandle(JNIEnv* env, jobject, jlong handle, jintArray packed) {
    Parcel& parcel = *parcelOf(handle);
    if (packed == nullptr) return throwIfNotWritten(env, parcel.writeNativeHandleNoDup(nullptr));
    std::vector<jint> numbers(static_cast<size_t>(env->GetArrayLength(packed)));
    env->GetIntArrayRegion(packed, 0, static_cast<jsize>(numbers.size()), numbers.data());
    const int descriptors = numbers[0];
    const int ints = static_cast<int>(numbers.size()) - 1 - descriptors;
    native_handle_t* native = native_handle_create(descriptors, ints);
    if (native == nullptr) return throwIfFailed(env, android::BAD_VALUE);
    std::copy(numbers.begin() + 1, numbers.end(), native->data);
    const status_t status = parcel.writeNativeHandleNoDup(native);
    native_handle_delete(native);
    throwIfNotWritten(env, status);
}

jintArray readNativeHandle(JNIEnv* env, jobject, jlong handle) {
    const native_handle_t* native = nullptr;
    throwIfFailed(env, parcelOf(handle)->readNullableNativeHandleNoDup(&native));
    if (native == nullptr) return nullptr;
    const jsize count = native->numFds + native->numInts;
    jintArray packed = env->NewIntArray(count + 1);
    if (packed == nullptr) return nullptr;
    env->SetIntArrayRegion(packed, 0, 1, &native->numFds);
    env->SetIntArrayRegion(packed, 1, count, native->data);
    return packed;
}

// Buffers. Java gets copies, so that no later change by the sender matters.
jlong writeBuffer(JNIEnv* env, jobject, jlong handle, jbyteArray data) {
    const std::string bytes = textOf(env, data);
    size_t buffer = 0;
    throwIfNotWritten(env, parcelOf(handle)->writeBuffer(bytes.data(), bytes.size(), &buffer));
    return static_cast<jlong>(buffer);
}

jlong writeEmbeddedBuffer(JNIEnv* env, jobject self, jbyteArray data, jlong parent, jlong offset) {
    JavaParcel* parcel = parcelOf(env, self);
    if (parcel == nullptr) return 0;
    const std::string bytes = textOf(env, data);
    size_t buffer = 0;
    throwIfNotWritten(
        env, (*parcel)->writeEmbeddedBuffer(bytes.data(), bytes.size(), &buffer, static_cast<size_t>(parent),
                                            static_cast<size_t>(offset)));
    return static_cast<jlong>(buffer);
}

// Returns a copy of a buffer that was read, and stores its handle in the HwBlob `into`.
jbyteArray received(JNIEnv* env, status_t status, const void* data, jlong size, size_t buffer, jobject into) {
    if (status != android::OK) {
        throwIfFailed(env, status);
        return nullptr;
    }
    env->SetLongField(into, gJava.handleOfBlob, static_cast<jlong>(buffer));
    return bytesOf(env, data, static_cast<size_t>(size));
}

jbyteArray readBuffer(JNIEnv* env, jobject, jlong handle, jlong size, jobject into) {
    size_t buffer = 0;
    const void* data = nullptr;
    const status_t status = parcelOf(handle)->readBuffer(static_cast<size_t>(size), &buffer, &data);
    return received(env, status, data, size, buffer, into);
}

jbyteArray readEmbeddedBuffer(JNIEnv* env, jobject, jlong handle, jlong size, jlong parent, jlong offset,
                              jobject into) {
    size_t buffer = 0;
    const void* data = nullptr;
    const status_t status =
        parcelOf(handle)->readEmbeddedBuffer(static_cast<size_t>(size), &buffer, static_cast<size_t>(parent),
                                             static_cast<size_t>(offset), &data, true);
    return received(env, status, data, size, buffer, into);
}

void writeStatus(JNIEnv* env, jobject self, jint status) {
    JavaParcel* parcel = parcelOf(env, self);
    if (parcel == nullptr) return;
    throwIfNotWritten(env, android::hardware::writeToParcel(Status::fromStatusT(status), &**parcel));
}

// Returns the description of an error, or null for success.
jbyteArray readStatus(JNIEnv* env, jobject, jlong handle) {
    Status status;
    const status_t error = android::hardware::readFromParcel(&status, *parcelOf(handle));
    throwIfFailed(env, error);
    if (error != android::OK || status.isOk()) return nullptr;
    const std::string text = status.description();
    return bytesOf(env, text.data(), text.size());
}

jboolean send(JNIEnv*, jobject, jlong handle) {
    return parcelOf(handle).send() ? JNI_TRUE : JNI_FALSE;
}

constexpr char kParcel[] = "android/os/HwParcel";

bool registerNumbers(JNIEnv* env) {
    const JNINativeMethod methods[] = {
        method("writeBool", "(Z)V", writeNumber<jboolean, bool, &Parcel::writeBool>),
        method("writeInt8", "(B)V", writeNumber<jbyte, int8_t, &Parcel::writeInt8>),
        method("writeInt16", "(S)V", writeNumber<jshort, int16_t, &Parcel::writeInt16>),
        method("writeInt32", "(I)V", writeNumber<jint, int32_t, &Parcel::writeInt32>),
        method("writeInt64", "(J)V", writeNumber<jlong, int64_t, &Parcel::writeInt64>),
        method("writeFloat", "(F)V", writeNumber<jfloat, float, &Parcel::writeFloat>),
        method("writeDouble", "(D)V", writeNumber<jdouble, double, &Parcel::writeDouble>),
        method("readBool", "()Z", readNumber<jboolean, bool, &Parcel::readBool>),
        method("readInt8", "()B", readNumber<jbyte, int8_t, &Parcel::readInt8>),
        method("readInt16", "()S", readNumber<jshort, int16_t, &Parcel::readInt16>),
        method("readInt32", "()I", readNumber<jint, int32_t, &Parcel::readInt32>),
        method("readInt64", "()J", readNumber<jlong, int64_t, &Parcel::readInt64>),
        method("readFloat", "()F", readNumber<jfloat, float, &Parcel::readFloat>),
        method("readDouble", "()D", readNumber<jdouble, double, &Parcel::readDouble>),
    };
    return registerMethods(env, kParcel, methods);
}

bool registerVectors(JNIEnv* env) {
    const JNINativeMethod methods[] = {
        method("writeBoolVector", "([Z)V", Bools::write),
        method("writeInt8Vector", "([B)V", Int8s::write),
        method("writeInt16Vector", "([S)V", Int16s::write),
        method("writeInt32Vector", "([I)V", Int32s::write),
        method("writeInt64Vector", "([J)V", Int64s::write),
        method("writeFloatVector", "([F)V", Floats::write),
        method("writeDoubleVector", "([D)V", Doubles::write),
        method("writeStringVector", "(J[[B)V", writeStringVector),
        method("readBoolVectorAsArray", "()[Z", Bools::read),
        method("readInt8VectorAsArray", "()[B", Int8s::read),
        method("readInt16VectorAsArray", "()[S", Int16s::read),
        method("readInt32VectorAsArray", "()[I", Int32s::read),
        method("readInt64VectorAsArray", "()[J", Int64s::read),
        method("readFloatVectorAsArray", "()[F", Floats::read),
        method("readDoubleVectorAsArray", "()[D", Doubles::read),
        method("readStringVector", "(J)[[B", readStringVector),
    };
    return registerMethods(env, kParcel, methods);
}

bool registerOthers(JNIEnv* env) {
    const JNINativeMethod methods[] = {
        method("writeInterfaceToken", "(J[B)V", writeInterfaceToken),
        method("readInterfaceToken", "(J[B)Z", readInterfaceToken),
        method("writeString", "(J[B)V", writeString),
        method("readString", "(J)[B", readString),
        method("writeNoBinder", "(J)V", writeNoBinder),
        method("writeLocalBinder", "(JJLandroid/os/HwBinder;)V", writeLocalBinder),
        method("writeRemoteBinder", "(JJ)V", writeRemoteBinder),
        method("readStrongBinder", "()Landroid/os/IHwBinder;", readStrongBinder),
        method("writeNativeHandle", "(J[I)V", writeNativeHandle),
        method("readNativeHandle", "(J)[I", readNativeHandle),
        method("writeBuffer", "(J[B)J", writeBuffer),
        method("writeEmbeddedBuffer", "([BJJ)J", writeEmbeddedBuffer),
        method("readBuffer", "(JJLandroid/os/HwBlob;)[B", readBuffer),
        method("readEmbeddedBuffer", "(JJJJLandroid/os/HwBlob;)[B", readEmbeddedBuffer),
        method("writeStatus", "(I)V", writeStatus),
        method("readStatus", "(J)[B", readStatus),
        method("send", "(J)Z", send),
    };
    return registerMethods(env, kParcel, methods);
}

}  // namespace

bool registerParcelMethods(JNIEnv* env) {
    const JNINativeMethod functions[] = {
        method("newParcel", "()J", create),
        method("deleteParcel", "(J)V", destroy),
    };
    return registerNumbers(env) && registerVectors(env) && registerOthers(env) &&
           registerMethods(env, kNative, functions);
}

}  // namespace hidlaudio::java
