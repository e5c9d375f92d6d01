// SPDX-License-Identifier: Apache-2.0
package main

import (
	"bytes"
	"io/ioutil"
	"regexp"
	"strings"
	"testing"

	"github.com/google/blueprint/parser"
)

const root = "../.."

// Broken and amended copies of the project's Android.bp: each must fail with its own
// error, or pass with what was stripped named.
func TestCheck(t *testing.T) {
	bp, err := ioutil.ReadFile(root + "/Android.bp")
	if err != nil {
		t.Fatal(err)
	}
	cases := []struct {
		name      string
		from, to  string // a text that Android.bp holds once, and its replacement
		wantErr   string // regexp over the errors; "" for none
		wantStrip string // regexp over the stripped lines
	}{
		{name: "as committed",
			wantStrip: `package: default_applicable_licenses.*module license "qvncam_perfctrl_license"`},
		{name: "misspelled property",
			from: "cppflags: [", to: "cppflag: [",
			wantErr: `Android.bp:\d+:\d+: unrecognized property "cppflag"`},
		{name: "missing source",
			from: `"platform/file/ReadFile.cpp",`, to: `"platform/file/ReadFiles.cpp",`,
			wantErr: `"libqvncam_facilities" .*source path ".*/platform/file/ReadFiles.cpp" does not exist`},
		{name: "missing include folder",
			from: `"utils/perfCtrl",`, to: `"utils/perfCtl",`,
			wantErr: `source path ".*/utils/perfCtl" does not exist`},
		{name: "undefined dependency",
			from: `"libprocessgroup",`, to: `"libprocessgroup", "libqvncam_nope",`,
			wantErr: `depends on undefined module "libqvncam_nope"`},
		{name: "system library outside the vendor image",
			from: `"libprocessgroup",`, to: `"libprocessgroup", "libft2",`,
			wantErr: `Vendor module that is not VNDK should not link to "libft2.llndk"`},
		{name: "licence of a module",
			from:      `name: "libqvncam_perfctrl_headers",`,
			to:        `name: "libqvncam_perfctrl_headers", licenses: ["qvncam_perfctrl_license"],`,
			wantStrip: `property cc_library_headers "libqvncam_perfctrl_headers": licenses`},
	}
	for _, c := range cases {
		t.Run(c.name, func(t *testing.T) {
			src := string(bp)
			if c.from != "" {
				if n := strings.Count(src, c.from); n != 1 {
					t.Fatalf("Android.bp holds %q %d times, not once: update the case", c.from, n)
				}
				src = strings.Replace(src, c.from, c.to, 1)
			}
			removed, errs := check(root, []byte(src))
			var msgs []string
			for _, e := range errs {
				msgs = append(msgs, e.Error())
			}
			got := strings.Join(msgs, "\n")
			switch {
			case c.wantErr == "" && got != "":
				t.Errorf("unexpected errors:\n%s", got)
			case c.wantErr != "" && !regexp.MustCompile(c.wantErr).MatchString(got):
				t.Errorf("errors do not match %q:\n%s", c.wantErr, got)
			}
			if c.wantStrip != "" {
				stripped := strings.Join(removed, "\n")
				if !regexp.MustCompile(`(?s)` + c.wantStrip).MatchString(stripped) {
					t.Errorf("stripped lines do not match %q:\n%s", c.wantStrip, stripped)
				}
			}
		})
	}
}

// Blanking keeps every line where it was, so that Soong's positions are the file's.
func TestStripKeepsPositions(t *testing.T) {
	src := "package {\n    default_applicable_licenses: [\"l\"],\n}\n\nlicense {\n    name: \"l\",\n}\n\ncc_defaults {\n    name: \"d\", // x\n    licenses: [\n        \"l\",\n    ],\n    cflags: [\"-Wall\"],\n}\n"
	out, removed, err := strip("Android.bp", []byte(src))
	if err != nil {
		t.Fatal(err)
	}
	if len(out) != len(src) || strings.Count(string(out), "\n") != strings.Count(src, "\n") {
		t.Fatalf("layout changed:\n%s", out)
	}
	for _, gone := range []string{"licenses", "license {", "default_applicable"} {
		if strings.Contains(string(out), gone) {
			t.Errorf("%q left in:\n%s", gone, out)
		}
	}
	if f, errs := parser.Parse("Android.bp", bytes.NewReader(out), parser.NewScope(nil)); len(errs) > 0 {
		t.Errorf("stripped file does not parse: %v\n%s", errs, out)
	} else if p, ok := f.Defs[1].(*parser.Module).GetProperty("cflags"); !ok || p.NamePos.Line != 14 {
		t.Errorf("cflags lost or moved:\n%s", out)
	}
	if len(removed) != 3 || !strings.HasPrefix(removed[2], "Android.bp:11: ") {
		t.Errorf("removed = %q", removed)
	}
}
