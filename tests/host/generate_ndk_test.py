"""Tests of generate_ndk.py: the errors it gives for declarations outside its AIDL subset, and the
C++ it writes for a small declaration."""

import contextlib
import io
import os
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "..", "host", "aidl"))
import generate_ndk  # noqa: E402


class GenerateNdkTest(unittest.TestCase):
    def setUp(self):
        self.root = tempfile.TemporaryDirectory()
        self.out = os.path.join(self.root.name, "out")

    def tearDown(self):
        self.root.cleanup()

    def write(self, name, text):
        path = os.path.join(self.root.name, "a", "b", name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w") as f:
            f.write(text)
        return path

    def run_generator(self, path):
        errors = io.StringIO()
        with contextlib.redirect_stderr(errors):
            status = generate_ndk.main(["--root", self.root.name, "--out", self.out, path])
        return status, errors.getvalue()

    def test_errors_name_file_and_line(self):
        cases = [
            ("interface IThing {\n    void ping();\n}\n",
             "IThing.aidl:4: interfaces hold only constants and nested types here: methods are "
             "not supported (interfaces are binder handles)"),
            ("parcelable Thing {\n    Missing value;\n}\n", "Thing.aidl:4: unknown type Missing"),
            ("@Hide\nparcelable Thing {}\n", "Thing.aidl:3: annotation @Hide is not supported here"),
            ("parcelable Thing {\n    @nullable int value;\n}\n",
             "Thing.aidl:4: int cannot be @nullable"),
            ("parcelable Thing {\n    byte value = 300;\n}\n",
             "Thing.aidl:4: 300 does not fit in byte"),
            ("enum Thing {\n    A = B,\n    B = A,\n}\n", "Thing.aidl:4: A depends on itself"),
            ("parcelable Thing {\n    List<int> values;\n}\n",
             "Thing.aidl:4: type List is not supported"),
            ("parcelable Thing {\n    int value\n}\n", "Thing.aidl:5: expected ';', found '}'"),
        ]
        for body, expected in cases:
            name = expected.split(":")[0]
            path = self.write(name, "package a.b;\n\n" + body)
            status, errors = self.run_generator(path)
            self.assertEqual(1, status, body)
            self.assertEqual(f"error: {os.path.relpath(path)}:{expected.split(':', 1)[1]}\n",
                             errors)
            os.remove(path)

    def test_file_must_match_package(self):
        path = self.write("Other.aidl", "package a.b;\n\nparcelable Thing {}\n")
        status, errors = self.run_generator(path)
        self.assertEqual(1, status)
        self.assertIn("type a.b.Thing belongs in a/b/Thing.aidl", errors)

    def test_parcelable_source(self):
        path = self.write("Thing.aidl", "package a.b;\n\nparcelable Thing {\n"
                          "    const long NONE = -1;\n    long at = NONE;\n"
                          "    @nullable @utf8InCpp String[] names;\n}\n")
        self.assertEqual((0, ""), self.run_generator(path))
        with open(os.path.join(self.out, "a", "b", "Thing.cpp")) as f:
            source = f.read()
        self.assertIn(
            "    _aidl_ret_status = ::ndk::AParcel_readNullableData(_aidl_parcel, &names);\n",
            source)
        self.assertIn(
            "binder_status_t Thing::writeToParcel(AParcel* _aidl_parcel) const {\n"
            "    binder_status_t _aidl_ret_status;\n"
            "    int32_t _aidl_start_pos = AParcel_getDataPosition(_aidl_parcel);\n"
            "    _aidl_ret_status = AParcel_writeInt32(_aidl_parcel, 0);\n"
            "    if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;\n"
            "    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_parcel, at);\n"
            "    if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;\n"
            "    _aidl_ret_status = ::ndk::AParcel_writeNullableData(_aidl_parcel, names);\n"
            "    if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;\n"
            "    int32_t _aidl_end_pos = AParcel_getDataPosition(_aidl_parcel);\n"
            "    AParcel_setDataPosition(_aidl_parcel, _aidl_start_pos);\n"
            "    AParcel_writeInt32(_aidl_parcel, _aidl_end_pos - _aidl_start_pos);\n"
            "    AParcel_setDataPosition(_aidl_parcel, _aidl_end_pos);\n"
            "    return _aidl_ret_status;\n"
            "}\n", source)
        with open(os.path.join(self.out, "include", "aidl", "a", "b", "Thing.h")) as f:
            header = f.read()
        self.assertIn("    enum : int64_t { NONE = -1 };\n\n"
                      "    int64_t at = -1;\n"
                      "    std::optional<std::vector<std::optional<std::string>>> names{};\n", header)

    def test_list_parcelables_names_nested_and_skips_generic_and_others(self):
        paths = [
            self.write("Outer.aidl", "package a.b;\n\nparcelable Outer {\n"
                       "    parcelable Inner { int x; }\n    union Choice { int i; long l; }\n"
                       "    enum Kind { A, B }\n    Inner inner;\n}\n"),
            self.write("Box.aidl", "package a.b;\n\nparcelable Box<T> {\n    T value;\n}\n"),
            self.write("IThing.aidl", "package a.b;\n\ninterface IThing {}\n"),
        ]
        output = io.StringIO()
        with contextlib.redirect_stdout(output):
            status = generate_ndk.main(["--root", self.root.name, "--out", self.out,
                                        "--list-parcelables"] + paths)
        self.assertEqual(0, status)
        self.assertEqual("<aidl/a/b/Outer.h> ::aidl::a::b::Outer\n"
                         "<aidl/a/b/Outer.h> ::aidl::a::b::Outer::Inner\n"
                         "<aidl/a/b/Outer.h> ::aidl::a::b::Outer::Choice\n", output.getvalue())
        self.assertFalse(os.path.exists(self.out))


if __name__ == "__main__":
    unittest.main()
