#!/usr/bin/env bash
# Renders the calculator's icons from their SVG sources in src/ into the PNGs that
# icons.qrc lists. A maintainer's tool, not part of the build: run it after changing a
# source and commit the PNGs. Needs rsvg-convert (Debian: librsvg2-bin).
set -euo pipefail
cd "$(dirname "$0")"

# source (src/NAME.svg) and the PNG it makes
icons=(
  "optcalc              png/windows/optcalc.png"
  "optcalc-preferences  png/preferences/optcalc.png"
  "colors               png/preferences/colors.png"
  "plot                 png/plot@1x.png"
  "vportfolio           png/vportfolio@1x.png"
  "rportfolio           png/rportfolio@1x.png"
  "separate             png/separate@1x.png"
  "sigma                png/sigma@1x.png"
  "percent              png/percent@1x.png"
  "grid                 png/grid@1x.png"
  "autoScale            png/autoScale@1x.png"
  "add                  png/add@1x.png"
  "add_strategy         png/add_strategy@1x.png"
  "remove               png/remove@1x.png"
  "clear                png/clear@1x.png"
  "import               png/import@1x.png"
  "add_orders           png/add_orders_toolbar.png"
  "download             png/download@1x.png"
)

for entry in "${icons[@]}"; do
  read -r name png <<<"$entry"
  mkdir -p "$(dirname "$png")"
  rsvg-convert --width 16 --height 16 --format png --output "$png" "src/$name.svg"
done
echo "rendered ${#icons[@]} icons"
