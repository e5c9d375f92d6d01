// SPDX-License-Identifier: Apache-2.0
// Loads the project's Android.bp into Soong's own cc test fixture, as a vendor tree
// would: real module types, defaults, vendor image variants, dependency resolution,
// visibility, neverallow rules and source paths, every error reported.
package main

import (
	"bytes"
	"fmt"
	"io/ioutil"
	"os"
	"path/filepath"
	"reflect"
	"sort"
	"strings"
	"unsafe"

	"android/soong/android"
	"android/soong/cc"

	"github.com/google/blueprint/parser"
	"github.com/google/blueprint/proptools"
)

// Where the project sits in the vendor tree.
const vendorDir = "vendor/qvn/camera/qvncam-perfctrl"

// The platform libraries the project links, as the vendor image sees them: liblog
// through its LL-NDK stub, the VNDK ones as VNDK, the test libraries vendor-available.
const platformStubs = `
cc_library {
    name: "liblog",
    nocrt: true,
    system_shared_libs: [],
}

llndk_library {
    name: "liblog",
    symbol_file: "platform/liblog.map.txt",
}

cc_defaults {
    name: "platform_vndk",
    vendor_available: true,
    vndk: {
        enabled: true,
    },
    nocrt: true,
}

cc_library {
    name: "libcutils",
    defaults: ["platform_vndk"],
}

cc_library {
    name: "libutils",
    defaults: ["platform_vndk"],
}

cc_library {
    name: "libbase",
    defaults: ["platform_vndk"],
}

cc_library {
    name: "libjsoncpp",
    defaults: ["platform_vndk"],
}

cc_library {
    name: "libprocessgroup",
    defaults: ["platform_vndk"],
}

cc_defaults {
    name: "platform_test_libs",
    vendor_available: true,
    nocrt: true,
}

cc_library_static {
    name: "libgtest",
    defaults: ["platform_test_libs"],
}

cc_library_static {
    name: "libgtest_main",
    defaults: ["platform_test_libs"],
}

cc_library_static {
    name: "libgtest_isolated_main",
    defaults: ["platform_test_libs"],
}

cc_library_static {
    name: "libgmock",
    defaults: ["platform_test_libs"],
}
`

// Files the fixture's own modules name, so that a strict source check passes on them.
var fixtureFiles = []string{
	"platform/liblog.map.txt",
	"libc.map.txt",
	"libm.map.txt",
	"libdl.map.txt",
	"prebuilts/ndk/current/sources/cxx-stl/llvm-libc++/libs/arm64-v8a/libc++_shared.so",
	"prebuilts/ndk/current/sources/cxx-stl/llvm-libc++/libs/armeabi-v7a/libc++_shared.so",
}

// Module types and properties newer than the Soong snapshot that have no effect on how
// a module builds. They are blanked out before the check and named in its output.
var unsupportedModuleTypes = map[string]string{
	"license":      "licence metadata",
	"license_kind": "licence metadata",
}

var unsupportedProperties = map[string]string{
	"licenses":                    "licence metadata",
	"default_applicable_licenses": "licence metadata",
}

// strip blanks out the unsupported module types and properties of an Android.bp,
// keeping every other byte where it was so that Soong's errors carry the file's own
// line and column numbers. It returns the result and a line for each removal.
func strip(name string, src []byte) ([]byte, []string, error) {
	file, errs := parser.Parse(name, bytes.NewReader(src), parser.NewScope(nil))
	if len(errs) > 0 {
		return nil, nil, errs[0]
	}
	out := append([]byte(nil), src...)
	blank := func(from, to int) {
		for i := from; i < to && i < len(out); i++ {
			if out[i] != '\n' {
				out[i] = ' '
			}
		}
	}
	var removed []string
	note := func(line int, what, why string) {
		removed = append(removed, fmt.Sprintf("%s:%d: %s (%s)", name, line, what, why))
	}

	// A property runs up to the next one, or to the closing brace of its map, which
	// takes its trailing comma and any comment with it.
	var walk func(m *parser.Map, path string)
	walk = func(m *parser.Map, path string) {
		for i, p := range m.Properties {
			end := m.RBracePos.Offset
			if i+1 < len(m.Properties) {
				end = m.Properties[i+1].NamePos.Offset
			}
			if why, ok := unsupportedProperties[p.Name]; ok {
				blank(p.NamePos.Offset, end)
				note(p.NamePos.Line, "property "+path+p.Name, why)
				continue
			}
			if sub, ok := p.Value.(*parser.Map); ok {
				walk(sub, path+p.Name+".")
			}
		}
	}
	for _, def := range file.Defs {
		mod, ok := def.(*parser.Module)
		if !ok {
			continue
		}
		label := mod.Type
		if n, ok := mod.GetProperty("name"); ok {
			if s, ok := n.Value.(*parser.String); ok {
				label = fmt.Sprintf("%s %q", mod.Type, s.Value)
			}
		}
		if why, ok := unsupportedModuleTypes[mod.Type]; ok {
			blank(mod.TypePos.Offset, mod.Map.RBracePos.Offset+1)
			note(mod.TypePos.Line, "module "+label, why)
			continue
		}
		walk(&mod.Map, label+": ")
	}
	return out, removed, nil
}

// treeFiles lists the files of the project as the vendor tree would hold them, less
// Git's data and build trees.
func treeFiles(root string) ([]string, error) {
	var files []string
	err := filepath.Walk(root, func(path string, info os.FileInfo, err error) error {
		if err != nil {
			return err
		}
		rel, _ := filepath.Rel(root, path)
		if info.IsDir() {
			top := !strings.Contains(rel, string(filepath.Separator))
			if rel == ".git" || top && (strings.HasPrefix(rel, "build") || rel == "out") {
				return filepath.SkipDir
			}
			return nil
		}
		files = append(files, rel)
		return nil
	})
	return files, err
}

// allowNonExistentPaths switches the fixture's path check, which the test
// configuration turns off so that tests need not list their files. The field is
// unexported, hence reflection.
func allowNonExistentPaths(config android.Config, allow bool) {
	inner := reflect.ValueOf(&config).Elem().Field(0).Elem()
	field := inner.FieldByName("testAllowNonExistentPaths")
	if !field.IsValid() || field.Kind() != reflect.Bool {
		panic("Soong's config has no testAllowNonExistentPaths flag: update the check")
	}
	reflect.NewAt(field.Type(), unsafe.Pointer(field.UnsafeAddr())).Elem().SetBool(allow)
}

// newContext registers every module type the linked Soong packages define and the
// mutators in the order of a real build (android/mutator.go), cc's among them.
func newContext() *android.TestContext {
	ctx := android.NewTestArchContext()
	factories := android.ModuleTypeFactories()
	names := make([]string, 0, len(factories))
	for name := range factories {
		names = append(names, name)
	}
	sort.Strings(names)
	for _, name := range names {
		ctx.RegisterModuleType(name, factories[name])
	}

	ctx.PreArchMutators(android.RegisterNamespaceMutator)
	ctx.PreArchMutators(android.RegisterVisibilityRuleChecker)
	ctx.PreArchMutators(android.RegisterDefaultsPreArchMutators)
	ctx.PreArchMutators(android.RegisterComponentsMutator)
	ctx.PreArchMutators(android.RegisterPrebuiltsPreArchMutators)
	ctx.PreArchMutators(android.RegisterVisibilityRuleGatherer)
	ctx.PreDepsMutators(func(ctx android.RegisterMutatorsContext) {
		ctx.BottomUp("variable", android.VariableMutator).Parallel()
	})
	ctx.PostDepsMutators(android.RegisterPrebuiltsPostDepsMutators)
	ctx.PostDepsMutators(android.RegisterVisibilityRuleEnforcer)
	ctx.PostDepsMutators(android.RegisterNeverallowMutator)
	ctx.PostDepsMutators(android.RegisterOverridePostDepsMutators)
	cc.RegisterCCBuildComponents(mutatorsOnly{ctx})
	return ctx
}

// mutatorsOnly passes on mutators; the module types are registered already.
type mutatorsOnly struct{ *android.TestContext }

func (mutatorsOnly) RegisterModuleType(string, android.ModuleFactory)       {}
func (mutatorsOnly) RegisterSingletonType(string, android.SingletonFactory) {}

// check loads bp as the project's Android.bp, with the files under root beside it,
// and returns what was stripped and Soong's errors.
func check(root string, bp []byte) (removed []string, errs []error) {
	bp, removed, err := strip("Android.bp", bp)
	if err != nil {
		return nil, []error{err}
	}
	files, err := treeFiles(root)
	if err != nil {
		return removed, []error{err}
	}
	// Only the Android.bp files are read: for the rest, being there is what counts.
	fs := map[string][]byte{}
	for _, f := range files {
		var data []byte
		if filepath.Base(f) == "Android.bp" && f != "Android.bp" {
			if data, err = ioutil.ReadFile(filepath.Join(root, f)); err == nil {
				var more []string
				data, more, err = strip(f, data)
				removed = append(removed, more...)
			}
			if err != nil {
				return removed, []error{err}
			}
		}
		fs[filepath.Join(vendorDir, f)] = data
	}
	for _, f := range fixtureFiles {
		fs[f] = nil
	}
	fs[filepath.Join(vendorDir, "Android.bp")] = bp

	buildDir, err := ioutil.TempDir("", "soong-check")
	if err != nil {
		return removed, []error{err}
	}
	defer os.RemoveAll(buildDir)

	config := cc.TestConfig(buildDir, android.Android, nil, platformStubs, fs)
	config.TestProductVariables.DeviceVndkVersion = proptools.StringPtr("current")
	config.TestProductVariables.Platform_vndk_version = proptools.StringPtr("VER")
	allowNonExistentPaths(config, false)

	ctx := newContext()
	ctx.Register(config)
	if _, errs = ctx.ParseBlueprintsFiles("."); len(errs) > 0 {
		return removed, errs
	}
	_, errs = ctx.PrepareBuildActions(config)
	return removed, errs
}
