#pragma once

// The ids of the calculator's commands: registered with the terminal's action manager,
// carried by the actions of the window and of the portfolio views, and stored with the
// user's shortcuts, so they never change.
namespace CommandId {

inline constexpr char AddPosition[] = "OC.addPosition";
inline constexpr char AddApproach[] = "OC.addApproach";
inline constexpr char DelPosition[] = "OC.delPosition";
inline constexpr char Clear[] = "OC.clear";
inline constexpr char Import[] = "OC.import";
inline constexpr char PartialCurves[] = "OC.partialCurves";
inline constexpr char SummaryCurves[] = "OC.summaryCurves";
inline constexpr char ConvertXAxisValues[] = "OC.convertXAxisValues";
inline constexpr char GridEnable[] = "OC.gridEnable";
inline constexpr char AutoScale[] = "OC.autoScale";
inline constexpr char AddPostponedOrders[] = "OC.addPostponedOrders";
inline constexpr char LoadReal[] = "OC.loadReal";
inline constexpr char Undo[] = "OC.undo";
inline constexpr char Redo[] = "OC.redo";
inline constexpr char SaveCurrentPlotAs[] = "OC.saveCurrentPlotAs";

} // namespace CommandId
