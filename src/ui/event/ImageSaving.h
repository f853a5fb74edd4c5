#pragma once

class QWidget;

namespace Tessaly {

class ImageViewer;

/// Takes the user through saving the viewer's image: file dialog, writing, and a box with what came of it.
/// @param parent  of the dialogs
void saveImageOf(ImageViewer& viewer, QWidget* parent);

} // namespace Tessaly
