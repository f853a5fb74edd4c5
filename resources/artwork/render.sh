#!/bin/sh
# Renders the emblem and the logo from their drawings. Needs rsvg-convert (package librsvg2-bin).
set -e
cd "$(dirname "$0")"
rsvg-convert --width 512 --height 512 --output ../Logo_Orvane_rgb_randlos_keinText.png emblem.svg
rsvg-convert --width 1181 --height 265 --output ../Logo_Orvane_rgb_randlos.png logo.svg
