// SPDX-License-Identifier: Apache-2.0
package main

import (
	"flag"
	"fmt"
	"io/ioutil"
	"os"
	"path/filepath"
)

func main() {
	root := flag.String("root", ".", "the project's folder")
	bpPath := flag.String("bp", "", "Android.bp to check in place of the project's own")
	flag.Parse()
	if *bpPath == "" {
		*bpPath = filepath.Join(*root, "Android.bp")
	}
	bp, err := ioutil.ReadFile(*bpPath)
	if err != nil {
		fmt.Fprintln(os.Stderr, err)
		os.Exit(2)
	}

	removed, errs := check(*root, bp)
	if len(removed) > 0 {
		fmt.Println("Stripped first, as newer than the Soong snapshot and without effect on the build:")
	}
	for _, r := range removed {
		fmt.Println("  ", r)
	}
	for _, e := range errs {
		fmt.Println("error:", e)
	}
	if len(errs) > 0 {
		fmt.Printf("FAIL %s under %s: %d Soong error(s)\n", *bpPath, vendorDir, len(errs))
		os.Exit(1)
	}
	fmt.Printf("ok   %s loads in Soong under %s\n", *bpPath, vendorDir)
}
